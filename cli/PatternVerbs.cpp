#include "cli/Messages.h"
#include "cli/Verbs.h"
#include "core/files/FileName.h"
#include "core/naming/GenericNameDetector.h"
#include "core/support/Clock.h"
#include "core/support/Json.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <ostream>

namespace vesto::cli {
namespace {

/// What the pattern makes of an invoice that arrives today.
std::string exampleOf(const NameTemplate& nameTemplate, const Locale& locale) {
    NameTemplate::Context context;
    context.title = "Facture d’électricité octobre 2026";
    context.date = systemClock().now();
    context.kind = ContentSummary::Kind::pdf;
    context.originalBaseName = "scan0001";
    context.locale = locale;
    const NamingPolicy policy;
    return policy.fileName(nameTemplate.render(context, policy), "pdf");
}

std::string_view rawValue(NameTemplate::ValidationError::Code code) {
    switch (code) {
    case NameTemplate::ValidationError::Code::unknownToken:
        return "unknownToken";
    case NameTemplate::ValidationError::Code::missingTitle:
        return "missingTitle";
    case NameTemplate::ValidationError::Code::unbalancedBraces:
        return "unbalancedBraces";
    }
    return {};
}

} // namespace

ExitStatus generic(const Options& options, std::ostream& out) {
    for (const std::string& name : options.names) {
        const std::string_view base = baseNameOf(name);
        const bool isGeneric = GenericNameDetector::isGeneric(base);
        const bool isScreenshot = GenericNameDetector::isScreenshotName(base);
        if (options.json) {
            Json record;
            record["name"] = name;
            record["generic"] = isGeneric;
            record["screenshot"] = isScreenshot;
            out << writeJson(record) << '\n';
        } else {
            out << printable(name) << " : " << (isGeneric ? "générique" : "parlant")
                << (isScreenshot ? ", capture d'écran" : "") << '\n';
        }
    }
    return ExitStatus::done;
}

ExitStatus checkTemplate(const Options& options, std::ostream& out) {
    const auto valid = options.nameTemplate.validate();
    if (options.json) {
        Json record;
        record["pattern"] = options.nameTemplate.pattern;
        record["valid"] = valid.has_value();
        if (valid) {
            record["example"] = exampleOf(options.nameTemplate, options.locale);
        } else {
            record["error"] = rawValue(valid.error().code);
            record["message"] = valid.error().message();
        }
        out << writeJson(record) << '\n';
    } else if (valid) {
        out << "Modèle valide. Exemple : " << exampleOf(options.nameTemplate, options.locale) << '\n';
    } else {
        out << printable(valid.error().message()) << '\n'
            << "Jetons possibles : {title}, {date}, {date:FORMAT}, {kind}, {original}.\n";
    }
    return valid ? ExitStatus::done : ExitStatus::notAllDone;
}

} // namespace vesto::cli
