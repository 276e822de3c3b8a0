#include "core/extraction/readers/media/MediaFile.h"

#include "core/extraction/readers/DocumentDate.h"
#include "core/extraction/readers/DocumentText.h"
#include "core/extraction/readers/text/CharsetDetector.h"
#include "core/support/Unicode.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
#include <libavutil/mem.h>
}

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <initializer_list>
#include <utility>

namespace vesto::readers {
namespace {

// What the types of the registry are read with. Everything else stays shut: playlists and manifests, which
// name other files, and the formats of old games, which nobody has looked at for years.
constexpr const char* containers =
    "mov,mp3,aac,wav,w64,flac,ogg,aiff,caf,asf,amr,matroska,ape,wv,ac3,eac3,au,avi,"
    "mpeg,mpegvideo,mpegts,flv,mxf";
constexpr const char* codecs = "aac,aac_latm,ac3,eac3,alac,amrnb,amrwb,ape,flac,mp1float,mp2float,mp3float,"
                               "mp3,mp2,mp1,opus,vorbis,speex,"
                               "libspeex,libopus,libvorbis,wavpack,wmav1,wmav2,wmapro,wmalossless,wmavoice,"
                               "gsm,gsm_ms,nellymoser,qdm2,dca,"
                               "adpcm_ima_qt,adpcm_ima_wav,adpcm_ms,adpcm_swf,adpcm_yamaha,g722,g726,pcm_"
                               "alaw,pcm_mulaw,pcm_bluray,pcm_dvd,"
                               "pcm_f32be,pcm_f32le,pcm_f64be,pcm_f64le,pcm_s16be,pcm_s16le,pcm_s24be,pcm_"
                               "s24le,pcm_s32be,pcm_s32le,pcm_s8,"
                               "pcm_u8,"
                               "h264,hevc,vp8,vp9,libdav1d,av1,mpeg4,mpeg1video,mpeg2video,mpegvideo,mjpeg,"
                               "mjpegb,png,theora,h263,h263p,flv,"
                               "vc1,wmv1,wmv2,wmv3,wmv3image,vc1image,msmpeg4v1,msmpeg4v2,msmpeg4,prores,"
                               "dnxhd,dvvideo,ffv1,qtrle,rpza,svq1,"
                               "svq3,cinepak,rawvideo,v210,huffyuv,ffvhuff,utvideo,msvideo1,msrle,vp6,vp6f,"
                               "vp6a,flashsv,flashsv2,mss2,mss1,"
                               "tscc,camtasia,gif";

constexpr int bufferSize = 65'536; // bytes
constexpr std::size_t largestBlock =
    std::size_t{256} * 1024 * 1024; // bytes; no frame that is decoded needs more
constexpr std::int64_t mostPixels = std::int64_t{36} * 1024 * 1024; // 8K with its borders
constexpr int longestProbe = 1024 * 1024;                           // bytes
constexpr unsigned mostStreams = 64;
constexpr double longestDuration = 366.0 * 86'400; // seconds
constexpr std::int64_t largestMeasured =
    std::int64_t{64} * 1024 * 1024; // bytes of a file read to its end for its duration

void quieten() {
    static const bool done = [] {
        av_log_set_callback([](void*, int, const char*, va_list) {});
        av_max_alloc(largestBlock);
        return true;
    }();
    static_cast<void>(done);
}

// Bytes of an ID3 tag before the sound; a cover can make it larger than what is probed.
std::int64_t tagSize(const std::array<std::uint8_t, 10>& head) {
    if (head[0] != 'I' || head[1] != 'D' || head[2] != '3')
        return 0;
    std::int64_t size = 0;
    for (std::size_t i = 6; i < 10; ++i)
        size = size * 128 + (head[i] & 0x7F);
    return size + 10 + ((head[5] & 0x10) != 0 ? 10 : 0);
}

std::size_t readAt(int fd, std::int64_t offset, std::uint8_t* to, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = ::pread(fd, to + done, size - done, offset + static_cast<std::int64_t>(done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

// The container that the first bytes show, whatever the file is called.
const AVInputFormat* containerOf(int fd) {
    std::array<std::uint8_t, 10> head{};
    if (readAt(fd, 0, head.data(), head.size()) < head.size())
        return nullptr;
    const std::int64_t start = tagSize(head);
    std::vector<std::uint8_t> bytes;
    for (int size = 4096; size <= longestProbe; size *= 4) {
        bytes.assign(static_cast<std::size_t>(size) + AVPROBE_PADDING_SIZE, 0);
        const std::size_t count = readAt(fd, start, bytes.data(), static_cast<std::size_t>(size));
        const AVProbeData probe{
            .filename = "", .buf = bytes.data(), .buf_size = static_cast<int>(count), .mime_type = nullptr};
        int score = 0;
        const AVInputFormat* format = av_probe_input_format3(&probe, 1, &score);
        const bool whole = count < static_cast<std::size_t>(size) || size == longestProbe;
        // A short recording fills few of the headers that its format is known by; noise looks like one or
        // two.
        if (format != nullptr && score > (whole ? 4 : AVPROBE_SCORE_RETRY))
            return format;
        if (whole)
            break;
    }
    return nullptr;
}

// Old tags are in the charset of the machine that wrote them.
std::string utf8Of(const char* value) {
    const std::string_view bytes = value;
    return titleLine(unicode::isValid(bytes) ? std::string(bytes) : decodeText(bytes).value_or(""));
}

std::optional<Seconds> plausible(double seconds) {
    if (!std::isfinite(seconds) || seconds <= 0 || seconds > longestDuration)
        return std::nullopt;
    return Seconds(seconds);
}

} // namespace

void CodecCloser::operator()(AVCodecContext* context) const {
    avcodec_free_context(&context);
}

void FrameFreer::operator()(AVFrame* frame) const {
    av_frame_free(&frame);
}

void PacketFreer::operator()(AVPacket* packet) const {
    av_packet_free(&packet);
}

MediaFile::MediaFile(int fd, std::int64_t size, const Deadline& deadline)
    : m_fd(fd)
    , m_size(size)
    , m_deadline(deadline) {}

MediaFile::~MediaFile() {
    avformat_close_input(&m_context);
    if (m_io != nullptr)
        av_freep(static_cast<void*>(&m_io->buffer));
    avio_context_free(&m_io);
}

int MediaFile::read(void* self, std::uint8_t* buffer, int size) {
    auto& file = *static_cast<MediaFile*>(self);
    if (file.m_deadline.passed())
        return AVERROR_EXIT;
    const std::size_t count =
        readAt(file.m_fd, file.m_position, buffer, static_cast<std::size_t>(std::max(size, 0)));
    file.m_position += static_cast<std::int64_t>(count);
    return count == 0 ? AVERROR_EOF : static_cast<int>(count);
}

std::int64_t MediaFile::seekBytes(void* self, std::int64_t offset, int whence) {
    auto& file = *static_cast<MediaFile*>(self);
    whence &= ~AVSEEK_FORCE;
    if (whence == AVSEEK_SIZE)
        return file.m_size;
    std::int64_t from = 0;
    if (whence == SEEK_CUR)
        from = file.m_position;
    else if (whence == SEEK_END)
        from = file.m_size;
    else if (whence != SEEK_SET)
        return AVERROR(EINVAL);
    std::int64_t position = 0;
    if (__builtin_add_overflow(from, offset, &position) || position < 0)
        return AVERROR(EINVAL);
    file.m_position = position;
    return position;
}

std::unique_ptr<MediaFile> MediaFile::open(int fd, const Deadline& deadline) {
    quieten();
    struct stat status{};
    if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size <= 0)
        return nullptr;
    std::unique_ptr<MediaFile> file(new MediaFile(fd, status.st_size, deadline));
    return file->openContainer() ? std::move(file) : nullptr;
}

bool MediaFile::openContainer() {
    const AVInputFormat* format = containerOf(m_fd);
    if (format == nullptr)
        return false;
    auto* buffer = static_cast<unsigned char*>(av_malloc(bufferSize));
    m_io = buffer == nullptr ? nullptr
                             : avio_alloc_context(buffer, bufferSize, 0, this, &read, nullptr, &seekBytes);
    if (m_io == nullptr) {
        av_free(buffer);
        return false;
    }
    m_context = avformat_alloc_context();
    if (m_context == nullptr)
        return false;
    m_context->pb = m_io;
    m_context->max_streams = mostStreams;
    // What a file refers to, by name or address, is never opened.
    m_context->io_open = [](AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
        return AVERROR(EPERM);
    };
    m_context->interrupt_callback = {.callback = [](void* deadline) -> int {
                                         return static_cast<const Deadline*>(deadline)->passed() ? 1 : 0;
                                     },
                                     .opaque = const_cast<Deadline*>(&m_deadline)};
    AVDictionary* options = nullptr;
    av_dict_set(&options, "format_whitelist", containers, 0);
    av_dict_set(&options, "codec_whitelist", codecs, 0);
    av_dict_set(&options, "protocol_whitelist", "none", 0);
    const int opened =
        avformat_open_input(&m_context, "", format, &options); // frees the context where it fails
    av_dict_free(&options);
    if (opened < 0)
        return false;
    // Frees nothing where it fails, and what is known by then may do.
    std::vector<AVDictionary*> limits(m_context->nb_streams, nullptr);
    for (AVDictionary*& limit : limits)
        av_dict_set_int(&limit, "max_pixels", mostPixels, 0);
    static_cast<void>(avformat_find_stream_info(m_context, limits.data()));
    for (AVDictionary*& limit : limits)
        av_dict_free(&limit);
    chooseStreams();
    return m_sound != nullptr || m_picture != nullptr;
}

void MediaFile::chooseStreams() {
    const auto better = [](const AVStream* now, const AVStream& candidate) {
        return now == nullptr || ((candidate.disposition & AV_DISPOSITION_DEFAULT) != 0 &&
                                  (now->disposition & AV_DISPOSITION_DEFAULT) == 0);
    };
    for (unsigned i = 0; i < m_context->nb_streams; ++i) {
        AVStream& stream = *m_context->streams[i];
        stream.discard = AVDISCARD_ALL;
        if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0)
            continue;
        if (stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO && better(m_sound, stream))
            m_sound = &stream;
        else if (stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO && better(m_picture, stream))
            m_picture = &stream;
    }
}

MediaTags MediaFile::tags() const {
    const auto value = [this](std::initializer_list<const char*> keys) -> std::optional<std::string> {
        for (const char* key : keys) {
            // The tags of Ogg stand with the stream.
            for (const AVDictionary* dictionary :
                 {std::as_const(m_context->metadata),
                  m_sound != nullptr ? std::as_const(m_sound->metadata) : nullptr,
                  m_picture != nullptr ? std::as_const(m_picture->metadata) : nullptr}) {
                const AVDictionaryEntry* entry = av_dict_get(dictionary, key, nullptr, 0);
                if (entry == nullptr)
                    continue;
                if (std::string text = utf8Of(entry->value); !text.empty())
                    return text;
            }
        }
        return std::nullopt;
    };
    MediaTags tags{.title = value({"title", "com.apple.quicktime.title", "com.apple.quicktime.displayname"}),
                   .artist = value({"artist", "album_artist", "author", "com.apple.quicktime.artist"}),
                   .album = value({"album", "com.apple.quicktime.album"}),
                   .date = std::nullopt};
    // The first one carries the zone of the camera, the second is often that of the last export.
    for (const char* key : {"com.apple.quicktime.creationdate", "creation_time", "date", "date_recorded"}) {
        const auto text = value({key});
        tags.date = text.has_value() ? documentDate(*text) : std::nullopt;
        if (tags.date.has_value())
            break;
    }
    return tags;
}

std::optional<Seconds> MediaFile::declaredDuration() const {
    if (m_context->duration == AV_NOPTS_VALUE)
        return std::nullopt;
    return plausible(static_cast<double>(m_context->duration) / AV_TIME_BASE);
}

std::optional<Seconds> MediaFile::duration() {
    if (const auto declared = declaredDuration(); declared.has_value() || m_size > largestMeasured)
        return declared;
    const PacketHandle packet(av_packet_alloc());
    AVStream* stream = m_sound != nullptr ? m_sound : m_picture;
    while (packet && stream != nullptr && readPacket(*stream, *packet)) {
    }
    return plausible(m_end);
}

void MediaFile::noteEnd(const AVPacket& packet) {
    const AVStream& stream = *m_context->streams[packet.stream_index];
    if (packet.pts == AV_NOPTS_VALUE)
        return;
    const double start = stream.start_time == AV_NOPTS_VALUE ? 0 : static_cast<double>(stream.start_time);
    const double end = static_cast<double>(packet.pts) + static_cast<double>(packet.duration) - start;
    m_end = std::max(m_end, end * av_q2d(stream.time_base));
}

std::string_view MediaFile::cover() const {
    for (unsigned i = 0; i < m_context->nb_streams; ++i) {
        const AVStream& stream = *m_context->streams[i];
        const AVPacket& picture = stream.attached_pic;
        if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0 && picture.data != nullptr &&
            picture.size > 0)
            return {reinterpret_cast<const char*>(picture.data), static_cast<std::size_t>(picture.size)};
    }
    return {};
}

CodecHandle MediaFile::decoderOf(const AVStream& stream) {
    const AVCodec* codec = avcodec_find_decoder(stream.codecpar->codec_id);
    CodecHandle decoder(codec == nullptr ? nullptr : avcodec_alloc_context3(codec));
    if (!decoder || avcodec_parameters_to_context(decoder.get(), stream.codecpar) < 0)
        return nullptr;
    decoder->thread_count = 1;
    decoder->max_pixels = mostPixels;
    decoder->pkt_timebase = stream.time_base;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "codec_whitelist", codecs, 0);
    const int opened = avcodec_open2(decoder.get(), codec, &options);
    av_dict_free(&options);
    return opened < 0 ? nullptr : std::move(decoder);
}

// The bytes of the others are not even read where the container says where they are.
void MediaFile::select(const AVStream& stream) {
    for (unsigned i = 0; i < m_context->nb_streams; ++i)
        m_context->streams[i]->discard = m_context->streams[i] == &stream ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
}

bool MediaFile::readPacket(const AVStream& stream, AVPacket& packet) {
    select(stream);
    m_hasRead = true;
    while (!m_deadline.passed()) {
        av_packet_unref(&packet);
        if (av_read_frame(m_context, &packet) < 0)
            return false;
        noteEnd(packet);
        if (packet.stream_index == stream.index)
            return true;
    }
    return false;
}

bool MediaFile::seek(const AVStream& stream, Seconds position) {
    select(stream);
    const bool toStart = position <= Seconds::zero();
    if (toStart && !m_hasRead)
        return true;
    const double start = stream.start_time == AV_NOPTS_VALUE
                             ? 0
                             : static_cast<double>(stream.start_time) * av_q2d(stream.time_base);
    const double target = (start + position.count()) / av_q2d(stream.time_base);
    if (!std::isfinite(target) || std::abs(target) > 1e18)
        return false;
    m_hasRead = true;
    return av_seek_frame(m_context, stream.index, static_cast<std::int64_t>(target), AVSEEK_FLAG_BACKWARD) >=
               0 ||
           (toStart && av_seek_frame(m_context, -1, 0, AVSEEK_FLAG_BYTE) >= 0);
}

} // namespace vesto::readers
