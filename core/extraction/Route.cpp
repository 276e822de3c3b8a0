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

/// The route of every type of the registry, by its identifier: the first entry of the table that it conforms
/// to.
std::unordered_map<std::string_view, Route> routesOfAllTypes() {
    std::unordered_map<std::string_view, std::size_t> entryOf;
    for (std::size_t entry = 0; entry < routeTable().size(); ++entry)
        for (const ContentType& accepted : routeTable()[entry].types)
            entryOf.emplace(accepted.identifier, entry);
    std::unordered_map<std::string_view, Route> routes;
    for (const TypeRow& row : typeTable()) {
        std::size_t first = routeTable().size();
        for (const std::string_view ancestor : TypeRegistry::lineage(row.identifier))
            if (const auto found = entryOf.find(ancestor); found != entryOf.end())
                first = std::min(first, found->second);
        if (first < routeTable().size())
            routes.emplace(row.identifier, routeTable()[first].route);
    }
    return routes;
}

std::optional<Route> routeOfIdentifier(std::string_view identifier) {
    // Every file of a folder comes by here.
    static const auto routes = routesOfAllTypes();
    const auto found = routes.find(identifier);
    return found == routes.end() ? std::nullopt : std::optional(found->second);
}

} // namespace

std::optional<Route> routeOf(const ContentType& type) {
    return routeOfIdentifier(type.identifier);
}

std::optional<Route> routeOfExtension(std::string_view extension) {
    return routeOfIdentifier(TypeRegistry::identifierOfExtension(extension));
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
