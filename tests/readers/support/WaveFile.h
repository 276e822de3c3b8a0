#pragma once
#include <cmath>
#include <cstdint>
#include <numbers>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vesto::tests {

/// A recording of one tone, 16 bits a sample, with what its header shall claim where that differs from the
/// truth.
struct Wave {
    std::uint32_t rate = 8'000;
    std::optional<std::uint32_t> claimedRate = std::nullopt;
    int channels = 1;
    double seconds = 1;
    double pitch = 440;
    std::vector<std::pair<std::string, std::string>> tags = {}; // four letters and a text
    std::optional<std::uint32_t> claimedBytes = std::nullopt;

    [[nodiscard]] std::string bytes() const {
        std::string sound;
        const auto count = static_cast<int>(seconds * rate);
        for (int i = 0; i < count; ++i) {
            const auto value =
                static_cast<std::int16_t>(20'000 * std::sin(2 * std::numbers::pi * pitch * i / rate));
            for (int channel = 0; channel < channels; ++channel)
                sound += number(static_cast<std::uint16_t>(value), 2);
        }
        const auto frame = static_cast<std::uint32_t>(channels) * 2;
        const std::uint32_t shown = claimedRate.value_or(rate);
        const std::string format = number(1, 2) + number(frame / 2, 2) + number(shown, 4) +
                                   number(shown * frame, 4) + number(frame, 2) + number(16, 2);
        std::string list = "INFO";
        for (const auto& [name, value] : tags)
            list += chunk(name, value + '\0');
        std::string data = chunk("data", sound);
        if (claimedBytes.has_value())
            data.replace(4, 4, number(*claimedBytes, 4));
        return chunk("RIFF",
                     "WAVE" + chunk("fmt ", format) + (tags.empty() ? "" : chunk("LIST", list)) + data);
    }

private:
    static std::string number(std::uint32_t value, int bytes) {
        std::string text;
        for (int i = 0; i < bytes; ++i, value >>= 8)
            text += static_cast<char>(value & 0xFF);
        return text;
    }
    static std::string chunk(std::string_view name, const std::string& content) {
        const std::string text =
            std::string(name) + number(static_cast<std::uint32_t>(content.size()), 4) + content;
        return content.size() % 2 == 0 ? text : text + '\0';
    }
};

} // namespace vesto::tests
