#pragma once
#include "core/support/Locale.h"
#include "core/support/Time.h"

#include <optional>
#include <string>
#include <string_view>

namespace vesto {

class Settings;

/// A pattern for names while the user writes it.
struct TemplateDraft {
    std::optional<std::string> error{}; // why it cannot be used, in French
    std::string example{};              // by the pattern that counts: this one, or the last valid one
    bool isDefault = false;
    int saveError = 0; // the system's number; 0: it was saved, or there was nothing to save

    [[nodiscard]] bool isValid() const { return !error; }
};

/// Judges a pattern.
[[nodiscard]] TemplateDraft judgeTemplateDraft(std::string_view pattern, const Settings& settings,
                                               const Locale& locale, Instant now);

/// Judges a pattern and saves it where it is valid; an invalid one leaves the setting as it was.
[[nodiscard]] TemplateDraft takeTemplateDraft(std::string_view pattern, const Settings& settings,
                                              const Locale& locale, Instant now);

} // namespace vesto
