#include "core/extraction/readers/media/SoundDecoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>

namespace vesto::readers {
namespace {

constexpr int samplesPerSecond = 16'000;
constexpr int slowestRate = 4'000; // samples a second that a person could understand
constexpr int fastestRate = 768'000;
constexpr int mostSilentPackets = 2'000; // one after another that give no sound
constexpr int mostChanges = 16;          // of the sound's format within one file

struct ResamplerFreer {
    void operator()(SwrContext* context) const { swr_free(&context); }
};

/// Turns decoded sound into ours, up to a number of samples.
class Resampler {
public:
    explicit Resampler(std::size_t most)
        : m_most(most) {}

    /// False once nothing more is wanted or the sound is none that can be turned.
    bool add(const AVFrame& frame) {
        if (frame.nb_samples <= 0)
            return true;
        if (!isSetFor(frame) && !setFor(frame))
            return false;
        return convert(const_cast<const std::uint8_t**>(frame.extended_data), frame.nb_samples);
    }

    /// What the filter still holds, and everything that was added.
    std::vector<std::int16_t> take() {
        if (m_context && m_samples.size() < m_most)
            convert(nullptr, 0);
        return std::move(m_samples);
    }

private:
    bool isSetFor(const AVFrame& frame) const {
        return m_context && frame.sample_rate == m_rate && frame.format == m_format &&
               frame.ch_layout.nb_channels == m_channels;
    }

    bool setFor(const AVFrame& frame) {
        if (++m_changes > mostChanges || frame.sample_rate < slowestRate || frame.sample_rate > fastestRate)
            return false;
        AVChannelLayout mono{};
        av_channel_layout_default(&mono, 1);
        SwrContext* made = nullptr;
        const int set = swr_alloc_set_opts2(
            &made, &mono, AV_SAMPLE_FMT_S16, samplesPerSecond, const_cast<AVChannelLayout*>(&frame.ch_layout),
            static_cast<AVSampleFormat>(frame.format), frame.sample_rate, 0, nullptr);
        m_context.reset(made);
        if (set < 0 || swr_init(made) < 0) {
            m_context.reset();
            return false;
        }
        m_rate = frame.sample_rate;
        m_format = frame.format;
        m_channels = frame.ch_layout.nb_channels;
        return true;
    }

    bool convert(const std::uint8_t** input, int count) {
        std::array<std::int16_t, 8192> block{};
        // What does not fit into one block stays in the context until it is asked for.
        while (m_samples.size() < m_most) {
            auto* output = reinterpret_cast<std::uint8_t*>(block.data());
            const int made =
                swr_convert(m_context.get(), &output, static_cast<int>(block.size()), input, count);
            if (made < 0)
                return false;
            const std::size_t wanted = std::min(static_cast<std::size_t>(made), m_most - m_samples.size());
            m_samples.insert(m_samples.end(), block.begin(),
                             block.begin() + static_cast<std::ptrdiff_t>(wanted));
            if (static_cast<std::size_t>(made) < block.size())
                return m_samples.size() < m_most;
            if (input != nullptr)
                count = 0;
        }
        return false;
    }

    std::size_t m_most;
    std::vector<std::int16_t> m_samples;
    std::unique_ptr<SwrContext, ResamplerFreer> m_context;
    int m_rate = 0;
    int m_format = -1;
    int m_channels = 0;
    int m_changes = 0;
};

} // namespace

std::vector<std::int16_t> decodeSound(MediaFile& file, Seconds window) {
    if (file.sound() == nullptr || !(window.count() > 0))
        return {};
    const AVStream& stream = *file.sound();
    const CodecHandle decoder = MediaFile::decoderOf(stream);
    const PacketHandle packet(av_packet_alloc());
    const FrameHandle frame(av_frame_alloc());
    if (!decoder || !packet || !frame || !file.seek(stream, Seconds::zero()))
        return {};
    Resampler sound(static_cast<std::size_t>(std::min(window.count(), 3'600.0) * samplesPerSecond));
    bool wanted = true;
    bool ended = false;
    for (int silent = 0; wanted && !ended && silent < mostSilentPackets; ++silent) {
        ended = !file.readPacket(stream, *packet);
        // A packet that the decoder refuses is damage; the next one may be whole.
        static_cast<void>(avcodec_send_packet(decoder.get(), ended ? nullptr : packet.get()));
        while (wanted && avcodec_receive_frame(decoder.get(), frame.get()) >= 0) {
            wanted = sound.add(*frame);
            silent = 0;
        }
    }
    return sound.take();
}

} // namespace vesto::readers
