#include "core/extraction/readers/pictures/LeptonicaPicture.h"

#include <leptonica/allheaders.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <span>
#include <vector>

namespace vesto::readers {
namespace {

using Pixel = std::array<std::uint8_t, 4>;

/// Rows of a Pix of any depth as opaque RGBA.
class PixRows {
public:
    explicit PixRows(const Pix& pix)
        : m_pix(const_cast<Pix*>(&pix)) // Leptonica's getters are not const
        , m_width(static_cast<std::size_t>(pixGetWidth(m_pix)))
        , m_depth(pixGetDepth(m_pix))
        , m_words(static_cast<std::size_t>(pixGetWpl(m_pix)))
        , m_hasAlpha(m_depth == 32 && pixGetSpp(m_pix) == 4) {
        if (m_depth <= 8)
            buildPalette();
        if (m_hasAlpha)
            m_background = background();
    }

    void read(std::size_t row, std::span<std::uint8_t> rgba) const {
        const l_uint32* line = pixGetData(m_pix) + row * m_words;
        if (m_depth == 32 && !m_hasAlpha) {
            std::uint8_t* out = rgba.data();
            for (std::size_t x = 0; x < m_width; ++x, out += 4) {
                out[0] = static_cast<std::uint8_t>(line[x] >> 24);
                out[1] = static_cast<std::uint8_t>(line[x] >> 16);
                out[2] = static_cast<std::uint8_t>(line[x] >> 8);
                out[3] = 0xFF;
            }
            return;
        }
        if (m_depth == 8) {
            for (std::size_t x = 0; x < m_width; ++x)
                std::memcpy(rgba.data() + x * 4, m_palette[GET_DATA_BYTE(line, x)].data(), 4);
            return;
        }
        for (std::size_t x = 0; x < m_width; ++x) {
            Pixel pixel = at(line, x);
            for (std::size_t i = 0; m_hasAlpha && i < 3; ++i)
                pixel[i] = over(pixel[i], pixel[3], m_background);
            pixel[3] = 0xFF;
            std::memcpy(rgba.data() + x * 4, pixel.data(), 4);
        }
    }

private:
    static std::uint8_t over(unsigned value, unsigned alpha, unsigned below) {
        return static_cast<std::uint8_t>((value * alpha + below * (0xFF - alpha) + 127) / 0xFF);
    }

    void buildPalette() {
        const std::size_t count = std::size_t{1} << m_depth;
        m_palette.resize(count);
        for (std::size_t i = 0; i < count; ++i) {
            const auto grey = static_cast<std::uint8_t>(i * 0xFF / (count - 1));
            m_palette[i] = {grey, grey, grey, 0xFF};
        }
        if (m_depth == 1) // a set bit is black
            std::swap(m_palette[0], m_palette[1]);
        PIXCMAP* map = pixGetColormap(m_pix);
        const int colors = map == nullptr ? 0 : pixcmapGetCount(map);
        for (int i = 0; i < colors && static_cast<std::size_t>(i) < count; ++i) {
            std::array<l_int32, 4> color{};
            pixcmapGetRGBA(map, i, &color[0], &color[1], &color[2], &color[3]);
            Pixel& entry = m_palette[static_cast<std::size_t>(i)];
            for (std::size_t k = 0; k < 3; ++k)
                entry[k] = over(static_cast<unsigned>(color[k] & 0xFF),
                                static_cast<unsigned>(color[3] & 0xFF), 0xFF);
        }
    }

    [[nodiscard]] Pixel at(const l_uint32* line, std::size_t x) const {
        if (m_depth == 32) {
            const l_uint32 word = line[x];
            return {static_cast<std::uint8_t>(word >> 24), static_cast<std::uint8_t>(word >> 16),
                    static_cast<std::uint8_t>(word >> 8), static_cast<std::uint8_t>(word)};
        }
        const std::size_t depth = static_cast<std::size_t>(m_depth);
        const std::size_t bit = x * depth;
        const l_uint32 value = line[bit / 32] >> (32 - depth - bit % 32) & ((1U << depth) - 1);
        if (m_depth == 16) {
            const auto grey = static_cast<std::uint8_t>(value >> 8);
            return {grey, grey, grey, 0xFF};
        }
        return m_palette[value];
    }

    /// White text on nothing can be read on dark only.
    [[nodiscard]] unsigned background() const {
        const auto height = static_cast<std::size_t>(pixGetHeight(m_pix));
        const std::size_t step = std::max<std::size_t>(1, m_width * height / 100'000);
        std::uint64_t light = 0;
        std::uint64_t opacity = 0;
        for (std::size_t i = 0; i < m_width * height; i += step) {
            const Pixel pixel = at(pixGetData(m_pix) + i / m_width * m_words, i % m_width);
            light += (pixel[0] * 77ULL + pixel[1] * 151ULL + pixel[2] * 28ULL) * pixel[3] >> 8;
            opacity += pixel[3];
        }
        return opacity > 0 && light / opacity > 200 ? 0x20 : 0xFF;
    }

    Pix* m_pix;
    std::size_t m_width;
    int m_depth;         // bits
    std::size_t m_words; // of 32 bits, each row
    bool m_hasAlpha;
    unsigned m_background = 0xFF;
    std::vector<Pixel> m_palette;
};

} // namespace

void silenceLeptonica() {
    static const bool done = (setMsgSeverity(L_SEVERITY_NONE), true);
    static_cast<void>(done);
}

void PixDeleter::operator()(Pix* pix) const {
    pixDestroy(&pix);
}

Raster rasterOf(const Pix& pix, PixelSize to) {
    const PixRows rows(pix);
    auto* source = const_cast<Pix*>(&pix);
    const PixelSize from{static_cast<std::uint32_t>(pixGetWidth(source)),
                         static_cast<std::uint32_t>(pixGetHeight(source))};
    RasterReducer reducer(from, to);
    std::vector<std::uint8_t> row(std::size_t{from.width} * 4);
    for (std::size_t y = 0; y < from.height; ++y) {
        rows.read(y, row);
        reducer.add(row);
    }
    return reducer.take();
}

PixPointer pixOf(const GreyPicture& picture) {
    silenceLeptonica();
    const std::size_t width = picture.size.width;
    PixPointer pix(
        pixCreate(static_cast<l_int32>(picture.size.width), static_cast<l_int32>(picture.size.height), 8));
    if (pix == nullptr)
        return nullptr;
    const auto words = static_cast<std::size_t>(pixGetWpl(pix.get()));
    for (std::size_t y = 0; y < picture.size.height; ++y) {
        l_uint32* line = pixGetData(pix.get()) + y * words;
        for (std::size_t x = 0; x < width; ++x)
            SET_DATA_BYTE(line, x, picture.pixels[y * width + x]);
    }
    return pix;
}

} // namespace vesto::readers
