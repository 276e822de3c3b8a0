#include "core/extraction/readers/media/FrameDecoder.h"

#include "core/extraction/readers/pictures/RasterScaling.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace vesto::readers {
namespace {

constexpr int longestSide = 32'768;                 // pixels
constexpr double mostStretch = 8;                   // of a pixel's sides against each other
constexpr int mostPackets = 2'000;                  // looked at for one frame
constexpr int mostFrames = 900;                     // decoded one after another
constexpr int framesBetweenLooks = 10;              // of those
constexpr double leastContrast = 4;                 // standard deviation of brightness, of 255
constexpr std::array positions{0.1, 0.3, 0.0, 0.6}; // of the duration, in the order of trying

struct ScalerFreer {
    void operator()(SwsContext* context) const { sws_freeContext(context); }
};

/// The number by which EXIF calls the way a stored frame is laid onto the screen.
int orientationOf(const AVStream& stream) {
    std::size_t size = 0;
    const std::uint8_t* data = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    std::array<std::int32_t, 9> matrix{}; // x' = m[0] x + m[3] y, y' = m[1] x + m[4] y
    if (data == nullptr || size < sizeof(matrix))
        return 1;
    std::memcpy(matrix.data(), data, sizeof(matrix));
    const auto part = [&matrix](std::size_t index) { return static_cast<double>(matrix[index]); };
    const bool swapsSides = std::abs(part(0)) + std::abs(part(4)) < std::abs(part(1)) + std::abs(part(3));
    if (swapsSides)
        return part(1) < 0 ? (part(3) < 0 ? 7 : 8) : (part(3) < 0 ? 6 : 5);
    return part(0) < 0 ? (part(4) < 0 ? 3 : 2) : (part(4) < 0 ? 4 : 1);
}

/// Width over height of one pixel.
double stretchOf(AVRational ratio) {
    const double stretch = ratio.num > 0 && ratio.den > 0 ? av_q2d(ratio) : 1;
    return stretch >= 1 / mostStretch && stretch <= mostStretch ? stretch : 1;
}

struct Size {
    double width;
    double height;
};

/// Enlarged where pixels are not square, since scaling one side down would lose what it says.
Size shownSize(int width, int height, double stretch) {
    return {.width = width * std::max(stretch, 1.0), .height = height / std::min(stretch, 1.0)};
}

FrameHandle scaled(const AVFrame& frame, int width, int height, AVPixelFormat format) {
    FrameHandle result(av_frame_alloc());
    const auto from = static_cast<AVPixelFormat>(frame.format);
    if (!result || frame.width < 1 || frame.height < 1 || frame.data[0] == nullptr ||
        sws_isSupportedInput(from) == 0)
        return nullptr;
    result->width = width;
    result->height = height;
    result->format = format;
    if (av_frame_get_buffer(result.get(), 0) < 0) // rows padded, since the scaler writes past their ends
        return nullptr;
    const std::unique_ptr<SwsContext, ScalerFreer> scaler(sws_getContext(
        frame.width, frame.height, from, width, height, format, SWS_AREA, nullptr, nullptr, nullptr));
    if (!scaler)
        return nullptr;
    const bool isFullRange = frame.color_range == AVCOL_RANGE_JPEG;
    sws_setColorspaceDetails(scaler.get(), sws_getCoefficients(frame.colorspace), isFullRange ? 1 : 0,
                             sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
    return sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, result->data,
                     result->linesize) < 1
               ? nullptr
               : std::move(result);
}

bool showsSomething(const AVFrame& frame) {
    constexpr int side = 64;
    const FrameHandle small = scaled(frame, side, side, AV_PIX_FMT_GRAY8);
    if (!small)
        return false;
    double sum = 0;
    double squares = 0;
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const double value = small->data[0][y * small->linesize[0] + x];
            sum += value;
            squares += value * value;
        }
    }
    constexpr double count = side * side;
    return squares / count - sum / count * (sum / count) >= leastContrast * leastContrast;
}

std::optional<Raster> rasterOf(const AVFrame& frame, double stretch, int orientation,
                               std::uint64_t maxPixels) {
    Size size = shownSize(frame.width, frame.height, stretch);
    const double shrink = std::sqrt(static_cast<double>(maxPixels) / (size.width * size.height));
    if (shrink < 1)
        size = {.width = size.width * shrink, .height = size.height * shrink};
    const int width = std::max(1, static_cast<int>(std::lround(size.width)));
    const int height = std::max(1, static_cast<int>(std::lround(size.height)));
    if (width > longestSide || height > longestSide)
        return std::nullopt;
    const FrameHandle pixels = scaled(frame, width, height, AV_PIX_FMT_RGBA);
    if (!pixels)
        return std::nullopt;
    Raster raster{.width = static_cast<std::uint32_t>(width), .height = static_cast<std::uint32_t>(height)};
    const std::size_t rowBytes = static_cast<std::size_t>(width) * 4;
    raster.rgba.resize(rowBytes * static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y)
        std::memcpy(raster.rgba.data() + rowBytes * static_cast<std::size_t>(y),
                    pixels->data[0] + static_cast<std::ptrdiff_t>(y) * pixels->linesize[0], rowBytes);
    return upright(std::move(raster), orientation);
}

/// Looks for a frame that shows something, and keeps one that shows nothing until there is better.
class FrameSearch {
public:
    FrameSearch(MediaFile& file, const AVStream& stream, CodecHandle decoder)
        : m_file(file)
        , m_stream(stream)
        , m_decoder(std::move(decoder))
        , m_packet(av_packet_alloc())
        , m_frame(av_frame_alloc()) {}

    /// Null where nothing was decoded.
    const AVFrame* find() {
        if (!m_packet || !m_frame)
            return nullptr;
        m_decoder->skip_frame = AVDISCARD_NONKEY;
        const double duration = m_file.declaredDuration().value_or(Seconds(0)).count();
        for (const double position : positions) {
            if ((duration > 0 || position == 0) && seek(Seconds(duration * position)) && decodeUntil(1))
                return m_best.get();
        }
        // Every key frame is blank, or there is only one.
        m_decoder->skip_frame = AVDISCARD_DEFAULT;
        if (seek(Seconds(0)))
            decodeUntil(mostFrames);
        return m_best.get();
    }

private:
    bool seek(Seconds position) {
        avcodec_flush_buffers(m_decoder.get());
        return m_file.seek(m_stream, position);
    }

    /// Whether one of the next `count` frames shows something; that one is kept.
    bool decodeUntil(int count) {
        bool ended = false;
        for (int packets = 0; !ended && packets < mostPackets; ++packets) {
            ended = !m_file.readPacket(m_stream, *m_packet);
            static_cast<void>(avcodec_send_packet(m_decoder.get(), ended ? nullptr : m_packet.get()));
            while (avcodec_receive_frame(m_decoder.get(), m_frame.get()) >= 0) {
                const bool looksAt = count == 1 || count % framesBetweenLooks == 0;
                if (looksAt && keep())
                    return true;
                if (--count == 0)
                    return false;
            }
        }
        return false;
    }

    bool keep() {
        const bool shows = showsSomething(*m_frame);
        if (shows || !m_best)
            m_best.reset(av_frame_clone(m_frame.get()));
        return shows;
    }

    MediaFile& m_file;
    const AVStream& m_stream;
    CodecHandle m_decoder;
    PacketHandle m_packet;
    FrameHandle m_frame;
    FrameHandle m_best;
};

} // namespace

std::optional<Raster> decodeFrame(MediaFile& file, std::uint64_t maxPixels) {
    if (file.picture() == nullptr || maxPixels == 0)
        return std::nullopt;
    AVStream& stream = *file.picture();
    CodecHandle decoder = MediaFile::decoderOf(stream);
    if (!decoder)
        return std::nullopt;
    FrameSearch search(file, stream, std::move(decoder));
    const AVFrame* frame = search.find();
    if (frame == nullptr)
        return std::nullopt;
    const double stretch =
        stretchOf(av_guess_sample_aspect_ratio(&file.context(), &stream, const_cast<AVFrame*>(frame)));
    return rasterOf(*frame, stretch, orientationOf(stream), maxPixels);
}

std::optional<std::pair<std::int64_t, std::int64_t>> displaySize(const MediaFile& file) {
    AVStream* stream = file.picture();
    if (stream == nullptr)
        return std::nullopt;
    const AVCodecParameters& stored = *stream->codecpar;
    if (stored.width < 1 || stored.height < 1 || stored.width > longestSide || stored.height > longestSide)
        return std::nullopt;
    const double stretch = stretchOf(av_guess_sample_aspect_ratio(&file.context(), stream, nullptr));
    const Size size = shownSize(stored.width, stored.height, stretch);
    const std::int64_t width = std::llround(size.width);
    const std::int64_t height = std::llround(size.height);
    return isTransposed(orientationOf(*stream)) ? std::pair(height, width) : std::pair(width, height);
}

} // namespace vesto::readers
