#include "app/model/Settings.h"
#include "cli/EngineVerbs.h"
#include "cli/Messages.h"
#include "core/naming/NameTemplate.h"
#include "core/support/Text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <ostream>

namespace vesto::cli {
namespace {

using Result = std::expected<void, int>;

std::optional<bool> flagIn(std::string_view word) {
    if (word == "true" || word == "oui")
        return true;
    if (word == "false" || word == "non")
        return false;
    return std::nullopt;
}

template <auto Set> Result setFlag(const Settings& settings, std::string_view word) {
    const auto value = flagIn(word);
    return value ? (settings.*Set)(*value) : std::unexpected(EINVAL);
}

Result setThreshold(const Settings& settings, std::string_view word) {
    double value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || end != word.data() + word.size())
        return std::unexpected(EINVAL);
    return settings.setAutoThreshold(value);
}

struct Setting {
    std::string_view key;
    std::string_view meaning;
    std::string_view expected; // what a value must be
    Json (*get)(const Settings&);
    Result (*set)(const Settings&, std::string_view);
};

const std::array<Setting, 6>& allSettings() {
    static constexpr std::string_view flag = "true ou false";
    static const std::array<Setting, 6> all{
        {{"template", "modèle des noms", "un modèle avec {title}",
          [](const Settings& settings) { return Json(settings.nameTemplate()); },
          [](const Settings& settings, std::string_view word) { return settings.setNameTemplate(word); }},
         {"genericOnly", "ne renommer que les noms génériques", flag,
          [](const Settings& settings) { return Json(settings.genericOnly()); },
          setFlag<&Settings::setGenericOnly>},
         {"autoThreshold", "confiance minimale pour renommer sans demander", "un nombre de 0 à 1",
          [](const Settings& settings) { return Json(settings.autoThreshold()); }, setThreshold},
         {"paused", "surveillance en pause", flag,
          [](const Settings& settings) { return Json(settings.paused()); }, setFlag<&Settings::setPaused>},
         {"onboarded", "accueil terminé", flag,
          [](const Settings& settings) { return Json(settings.onboarded()); },
          setFlag<&Settings::setOnboarded>},
         {"notifyAutomatic", "notifier les renommages automatiques", flag,
          [](const Settings& settings) { return Json(settings.notifyAutomatic()); },
          setFlag<&Settings::setNotifyAutomatic>}}};
    return all;
}

std::string valueWords(const Json& value) {
    return value.is_string() ? value.get<std::string>() : writeJson(value);
}

void tell(const Options& options, const Setting& setting, std::ostream& out) {
    const Json value = setting.get(Settings());
    if (options.json)
        out << writeJson(Json{{"key", setting.key}, {"value", value}}) << '\n';
    else if (options.names.empty())
        out << setting.key << " = " << printable(valueWords(value)) << "\n    " << text(setting.meaning)
            << '\n';
    else
        out << printable(valueWords(value)) << '\n';
}

/// What is running learns of a pause at once; everything else is read when it is used.
Result store(const Setting& setting, const std::string& word, std::ostream& err) {
    const auto flag = flagIn(word);
    EngineSession session(err);
    if (setting.key == "paused" && flag && session.beginRemote() &&
        session.ask(Json{{"verb", "setPaused"}, {"paused", *flag}}, [](const Json&) { return true; }).done)
        return {};
    return setting.set(Settings(), word);
}

} // namespace

ExitStatus settings(const Options& options, Streams streams) {
    const auto refuse = [&](std::string_view why) {
        streams.err << "vesto : " << why << '\n';
        return ExitStatus::notAllDone;
    };
    if (options.names.empty()) {
        for (const Setting& setting : allSettings())
            tell(options, setting, streams.out);
        return ExitStatus::done;
    }
    for (const Setting& setting : allSettings()) {
        if (setting.key != options.names.front())
            continue;
        if (options.setsKey) {
            const std::string& word = options.names.at(1);
            if (const auto stored = store(setting, word, streams.err); !stored) {
                if (stored.error() != EINVAL)
                    return refuse(fmt::format("{} : {}", text("Réglage non enregistré"),
                                              std::strerror(stored.error())));
                const auto valid = NameTemplate{word}.validate();
                return refuse(setting.key == "template" && !valid
                                  ? valid.error().message()
                                  : fmt::format("{} : {}.", setting.key, text(setting.expected)));
            }
        }
        tell(options, setting, streams.out);
        return ExitStatus::done;
    }
    std::string keys;
    for (const Setting& setting : allSettings())
        (keys += keys.empty() ? "" : ", ") += setting.key;
    return refuse(fmt::format("{} {}. {} {}.", text("Réglage inconnu :"), printable(options.names.front()),
                              text("Il y a :"), keys));
}

} // namespace vesto::cli
