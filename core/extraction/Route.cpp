#include "core/extraction/Route.h"

#include "core/extraction/TypeTable.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace vesto {
namespace {

struct RouteEntry {
    Route route;
    std::vector<ContentType> types;
};

/// A type that the registry does not know is dropped from its list.
RouteEntry entry(Route route, const std::vector<std::string_view>& identifiers,
                 const std::vector<std::string_view>& extensions = {}) {
    RouteEntry built{route, {}};
    for (const std::string_view identifier : identifiers) {
        if (std::ranges::any_of(typeTable(),
                                [&](const TypeRow& row) { return row.identifier == identifier; }))
            built.types.push_back({std::string(identifier)});
    }
    for (const std::string_view extension : extensions) {
        if (auto type = TypeRegistry::typeOfExtension(extension))
            built.types.push_back(*std::move(type));
    }
    return built;
}

const std::vector<RouteEntry>& routeTable() {
    static const std::vector<RouteEntry> table{
        entry(Route::pdf, {"com.adobe.pdf"}),
        entry(Route::image, {"public.png", "public.jpeg", "public.heic", "public.tiff", "com.compuserve.gif",
                             "org.webmproject.webp", "com.microsoft.bmp"}),
        entry(Route::email, {"com.apple.mail.email"}, {"eml"}),
        entry(Route::quickLook,
              {"org.openxmlformats.spreadsheetml.sheet", "com.microsoft.excel.xls",
               "org.openxmlformats.presentationml.presentation", "com.microsoft.powerpoint.ppt",
               "com.apple.keynote.key", "com.apple.iwork.keynote.sffkey", "com.apple.iwork.pages.sffpages",
               "com.apple.iwork.numbers.sffnumbers", "org.idpf.epub-container",
               "org.oasis-open.opendocument.spreadsheet", "org.oasis-open.opendocument.presentation"}),
        entry(Route::video, {"public.movie", "public.mpeg-4", "com.apple.quicktime-movie"}),
        entry(Route::audio, {"public.audio"}),
        entry(Route::document,
              {"public.plain-text", "public.source-code", "public.json", "public.comma-separated-values-text",
               "public.rtf", "public.html"},
              {"docx", "doc", "odt", "rtfd", "webarchive", "md"}),
    };
    return table;
}

std::optional<Route> walkTable(const ContentType& type) {
    for (const RouteEntry& entry : routeTable()) {
        for (const ContentType& accepted : entry.types) {
            if (TypeRegistry::conforms(type, accepted.identifier))
                return entry.route;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<Route> routeOf(const ContentType& type) {
    // Every file of a folder comes by here: the walk is done once for each type.
    static const auto known = [] {
        std::unordered_map<std::string_view, std::optional<Route>> routes;
        for (const TypeRow& row : typeTable())
            routes.emplace(row.identifier, walkTable({std::string(row.identifier)}));
        return routes;
    }();
    const auto found = known.find(type.identifier);
    return found == known.end() ? std::nullopt : found->second;
}

const std::vector<ContentType>& supportedTypes() {
    static const auto all = [] {
        std::vector<ContentType> types;
        for (const RouteEntry& entry : routeTable())
            types.insert(types.end(), entry.types.begin(), entry.types.end());
        return types;
    }();
    return all;
}

} // namespace vesto
