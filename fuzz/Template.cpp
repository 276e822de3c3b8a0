#include "core/extraction/DocumentPeriodExtractor.h"
#include "core/files/FileName.h"
#include "core/naming/GenericNameDetector.h"
#include "core/naming/NameTemplate.h"
#include "core/naming/NamingPolicy.h"
#include "fuzz/Input.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

using namespace vesto;

namespace {

constexpr std::array<std::string_view, 4> locales{"fr_FR", "en_US", "ar_EG", ""};
constexpr std::array<std::string_view, 4> extensions{"pdf", "", "docx", "numbers"};

std::size_t largestGrapheme(std::string_view text) {
    std::size_t largest = 0;
    while (!text.empty()) {
        const std::size_t size = unicode::firstGraphemeSize(text);
        largest = std::max(largest, size);
        text.remove_prefix(size);
    }
    return largest;
}

void checkNames(const NamingPolicy& policy, std::string_view base, std::string_view extension) {
    for (const std::optional<std::int64_t> suffix :
         {std::optional<std::int64_t>(), std::optional<std::int64_t>(2)}) {
        const std::string name = policy.fileName(base, extension, suffix);
        fuzz::checkFileName(name);
        // One enormous character stays whole, whatever the limit.
        if (largestGrapheme(NamingPolicy::sanitizeFileName(base)) <= 200)
            VESTO_ASSERT(name.size() <= 255);
    }
}

void checkTitle(const NamingPolicy& policy, std::string_view raw) {
    const std::string title = policy.cleanTitle(raw);
    VESTO_ASSERT(unicode::isValid(title));
    VESTO_ASSERT(title.find_first_of(std::string_view("/:\\?*\"<>|\n\0", 11)) == std::string::npos);
    // The first character may become up to three when it is made upper case.
    VESTO_ASSERT(unicode::graphemeCount(title) <= static_cast<std::size_t>(policy.maxTitleLength) + 2);
}

} // namespace

/// Choices of locale, kind, date and extension, then the pattern, the title and the file's current name.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    NameTemplate::Context context;
    context.locale = Locale(locales[input.choice(locales.size())]);
    context.kind = static_cast<ContentSummary::Kind>(input.choice(11));
    if (input.choice(4) != 0)
        context.date = Instant(std::chrono::seconds(1'772'000'000));
    context.timeZone = "Europe/Paris";
    const std::string_view extension = extensions[input.choice(extensions.size())];
    const NameTemplate nameTemplate{.pattern = std::string(input.text())};
    const std::string_view title = input.text();
    const std::string_view original = input.text();

    const NamingPolicy policy;
    checkTitle(policy, title);
    checkNames(policy, title, extension);

    context.title = policy.cleanTitle(title);
    context.originalBaseName = baseNameOf(original);
    const auto valid = nameTemplate.validate();
    if (!valid)
        VESTO_ASSERT(!valid.error().message().empty());
    const std::string base = nameTemplate.render(context, policy);
    VESTO_ASSERT(unicode::isValid(base) && NamingPolicy::sanitizeFileName(base) == base);
    checkNames(policy, base, extension);

    (void)GenericNameDetector::isGeneric(context.originalBaseName);
    const auto period = DocumentPeriodExtractor::extract(original, true);
    VESTO_ASSERT(!period || (period->month >= 1 && period->month <= 12));
    return 0;
}
