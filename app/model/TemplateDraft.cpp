#include "app/model/TemplateDraft.h"

#include "app/model/Settings.h"
#include "core/naming/NameTemplate.h"

namespace vesto {

TemplateDraft judgeTemplateDraft(std::string_view pattern, const Settings& settings, const Locale& locale,
                                 Instant now) {
    const NameTemplate written{std::string(pattern)};
    TemplateDraft draft{.isDefault = written == NameTemplate::defaultTemplate()};
    if (const auto valid = written.validate(); !valid)
        draft.error = valid.error().message();
    const NameTemplate counts{draft.isValid() ? written.pattern : settings.nameTemplate()};
    draft.example = counts.render({.title = "Facture EDF octobre 2026",
                                   .date = now,
                                   .kind = ContentSummary::Kind::document,
                                   .originalBaseName = "FDP-0502",
                                   .locale = locale,
                                   .timeZone = {}},
                                  NamingPolicy());
    return draft;
}

TemplateDraft takeTemplateDraft(std::string_view pattern, const Settings& settings, const Locale& locale,
                                Instant now) {
    TemplateDraft draft = judgeTemplateDraft(pattern, settings, locale, now);
    if (draft.isValid() && settings.nameTemplate() != pattern)
        if (const auto saved = settings.setNameTemplate(pattern); !saved)
            draft.saveError = saved.error();
    return draft;
}

} // namespace vesto
