#pragma once
#include "core/extraction/readers/Deadline.h"
#include "core/support/Time.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVIOContext;
struct AVPacket;
struct AVStream;

namespace vesto::readers {

struct CodecCloser {
    void operator()(AVCodecContext* context) const;
};
struct FrameFreer {
    void operator()(AVFrame* frame) const;
};
struct PacketFreer {
    void operator()(AVPacket* packet) const;
};
using CodecHandle = std::unique_ptr<AVCodecContext, CodecCloser>;
using FrameHandle = std::unique_ptr<AVFrame, FrameFreer>;
using PacketHandle = std::unique_ptr<AVPacket, PacketFreer>;

/// What the tags of a recording say; each text on one line and never empty.
struct MediaTags {
    std::optional<std::string> title;
    std::optional<std::string> artist;
    std::optional<std::string> album;
    std::optional<Instant> date; // when it was made: a whole day at least, a year alone is none
};

/// A film or recording, opened through a descriptor: reads nothing but that file, whatever it refers to.
/// Bounded by the deadline, which must outlive it. One thread at a time.
class MediaFile {
public:
    /// Nothing where the bytes are of no known container. `fd` is borrowed for as long as the object lives.
    [[nodiscard]] static std::unique_ptr<MediaFile> open(int fd, const Deadline& deadline);

    MediaFile(const MediaFile&) = delete;
    MediaFile& operator=(const MediaFile&) = delete;
    ~MediaFile();

    [[nodiscard]] MediaTags tags() const;

    /// What the container says, above zero; nothing where it does not say or what it says is absurd.
    [[nodiscard]] std::optional<Seconds> declaredDuration() const;

    /// The same; a small file that does not say, as those of browsers, is read to its end to find out. Call
    /// it last.
    [[nodiscard]] std::optional<Seconds> duration();

    /// The stream to be heard, or to be seen (a cover is none); null where there is none. Owned by the file.
    [[nodiscard]] AVStream* sound() const { return m_sound; }
    [[nodiscard]] AVStream* picture() const { return m_picture; }

    /// The bytes of the picture file on the cover; empty where there is none. Lives as long as the file.
    [[nodiscard]] std::string_view cover() const;

    /// A decoder on one thread for `stream`; null where none of ours knows its format.
    [[nodiscard]] static CodecHandle decoderOf(const AVStream& stream);

    /// The next packet of `stream`; packets of others are passed over. False at the end and from the deadline
    /// on.
    [[nodiscard]] bool readPacket(const AVStream& stream, AVPacket& packet);

    /// Goes to the last place before `position` (from the start) where decoding can begin.
    [[nodiscard]] bool seek(const AVStream& stream, Seconds position);

    [[nodiscard]] AVFormatContext& context() const { return *m_context; }
    [[nodiscard]] const Deadline& deadline() const { return m_deadline; }

private:
    MediaFile(int fd, std::int64_t size, const Deadline& deadline);
    bool openContainer();
    void chooseStreams();
    void noteEnd(const AVPacket& packet);
    void select(const AVStream& stream);
    static int read(void* self, std::uint8_t* buffer, int size);
    static std::int64_t seekBytes(void* self, std::int64_t offset, int whence);

    int m_fd;
    std::int64_t m_size; // bytes
    std::int64_t m_position = 0;
    const Deadline& m_deadline;
    AVIOContext* m_io = nullptr;          // owned
    AVFormatContext* m_context = nullptr; // owned
    AVStream* m_sound = nullptr;
    AVStream* m_picture = nullptr;
    bool m_hasRead = false;
    double m_end = 0; // seconds from the start, of the packets that were read
};

} // namespace vesto::readers
