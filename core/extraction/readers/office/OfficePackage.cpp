#include "core/extraction/readers/office/OfficePackage.h"

#include "core/extraction/readers/DocumentDate.h"
#include "core/extraction/readers/markup/XMLText.h"
#include "core/support/Unicode.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace vesto::readers {
namespace {

class RelationshipCollector : public XMLHandler {
public:
    explicit RelationshipCollector(std::string_view source)
        : m_folder(source.substr(0, source.rfind('/') + 1)) {}

    void start(std::string_view name, const XMLAttributes& attributes) override {
        if (name != "Relationship" || attributes.has("TargetMode", "External"))
            return;
        const auto id = attributes.find("Id");
        const auto target = attributes.find("Target");
        if (id.has_value() && target.has_value())
            all.insert_or_assign(std::string(*id),
                                 Relationship{std::string(attributes.find("Type").value_or("")),
                                              memberInFolder(m_folder, *target)});
    }
    void characters(std::string_view) override {}
    void end(std::string_view) override {}

    Relationships all;

private:
    std::string m_folder; // with its slash at the end; empty for the package
};

// The first of these elements of the part that holds anything but white space.
std::optional<std::string> firstText(std::string_view xml, std::string element) {
    for (const std::string& line : XMLText::paragraphs(xml, std::move(element))) {
        std::string text = unicode::repaired(unicode::trimmedWhiteSpace(line));
        if (!text.empty())
            return text;
    }
    return std::nullopt;
}

std::optional<std::int64_t> pageCountOf(std::string_view text) {
    std::int64_t count = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    constexpr std::int64_t sensible = 1'000'000;
    if (error != std::errc() || stop != text.data() + text.size() || count < 1 || count > sensible)
        return std::nullopt;
    return count;
}

} // namespace

std::optional<ZipMember> OfficePackage::part(std::string_view name) {
    const auto found = m_reader.entries().find(name);
    if (found == m_reader.entries().end())
        return std::nullopt;
    // The declared size says nothing of a stored part, nor of the work that empty blocks make.
    const std::int64_t cost = std::max(found->second.size, found->second.compressedSize);
    if (cost > m_budget)
        return std::nullopt;
    m_budget -= cost;
    return m_reader.data(name);
}

std::string memberInFolder(std::string_view folder, std::string_view target) {
    if (target.starts_with('/'))
        return std::string(target.substr(1));
    while (true) {
        if (target.starts_with("./")) {
            target.remove_prefix(2);
        } else if (target.starts_with("../") && !folder.empty()) {
            target.remove_prefix(3);
            folder.remove_suffix(1);
            folder = folder.substr(0, folder.rfind('/') + 1);
        } else {
            break;
        }
    }
    return std::string(folder) + std::string(target);
}

Relationships relationshipsOf(OfficePackage& package, std::string_view source) {
    const std::size_t folder = source.rfind('/') + 1; // 0 where there is none
    const std::string name =
        std::string(source.substr(0, folder)) + "_rels/" + std::string(source.substr(folder)) + ".rels";
    const std::optional<ZipMember> part = package.part(name);
    if (!part.has_value())
        return {};
    RelationshipCollector collector(source);
    parseXML(part->view(), collector);
    return std::move(collector.all);
}

void readOfficeProperties(OfficePackage& package, OfficeText& result) {
    if (const auto core = package.part("docProps/core.xml")) {
        result.title = firstText(core->view(), "dc:title");
        if (const auto created = firstText(core->view(), "dcterms:created"))
            result.date = documentDate(*created);
    }
    if (const auto application = package.part("docProps/app.xml")) {
        if (const auto pages = firstText(application->view(), "Pages"))
            result.pageCount = pageCountOf(*pages);
    }
}

void readOpenDocumentProperties(OfficePackage& package, OfficeText& result) {
    const auto meta = package.part("meta.xml");
    if (!meta.has_value())
        return;
    result.title = firstText(meta->view(), "dc:title");
    if (const auto created = firstText(meta->view(), "meta:creation-date"))
        result.date = documentDate(*created);
    const auto pages =
        XMLText::paragraphs(meta->view(), "meta:document-statistic", std::nullopt, "meta:page-count");
    if (!pages.empty())
        result.pageCount = pageCountOf(pages.front());
}

bool isOn(const std::optional<std::string_view>& value, bool absent) {
    if (!value.has_value())
        return absent;
    return value == "1" || value == "true" || value == "on";
}

} // namespace vesto::readers
