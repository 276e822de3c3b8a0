#include "core/extraction/readers/office/EPUBReader.h"

#include "core/extraction/readers/Ascii.h"
#include "core/extraction/readers/DocumentDate.h"
#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/markup/HTMLText.h"
#include "core/extraction/readers/markup/XMLParser.h"
#include "core/extraction/readers/office/OfficePackage.h"
#include "core/support/Unicode.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace vesto::readers {
namespace {

constexpr std::size_t maxItems = 5000;
constexpr int maxChapters = 40; // that are looked into

std::string_view localName(std::string_view name) {
    return name.substr(name.find(':') + 1);
}

/// The member that a reference names: without its fragment, its percent signs decoded.
std::string memberOf(std::string_view folder, std::string_view reference) {
    reference = reference.substr(0, reference.find('#'));
    std::string name;
    for (std::size_t i = 0; i < reference.size(); ++i) {
        const bool isEscape = reference[i] == '%' && i + 2 < reference.size() &&
                              ascii::hexValue(reference[i + 1]) >= 0 &&
                              ascii::hexValue(reference[i + 2]) >= 0;
        if (!isEscape) {
            name += reference[i];
            continue;
        }
        name += static_cast<char>(ascii::hexValue(reference[i + 1]) * 16 + ascii::hexValue(reference[i + 2]));
        i += 2;
    }
    return memberInFolder(folder, name);
}

/// Where the package's own description lies.
class ContainerReader final : public XMLHandler {
public:
    void start(std::string_view name, const XMLAttributes& attributes) override {
        if (localName(name) != "rootfile" || !path.empty())
            return;
        path = attributes.find("full-path").value_or("");
    }
    void characters(std::string_view) override {}
    void end(std::string_view) override {}

    std::string path;
};

/// The members that only whoever bought the book can read. Fonts are often made unusable outside of it, which
/// says nothing of the text.
class EncryptionReader final : public XMLHandler {
public:
    void start(std::string_view name, const XMLAttributes& attributes) override {
        if (localName(name) == "CipherReference" && members.size() < maxItems)
            members.insert(memberOf("", attributes.find("URI").value_or("")));
    }
    void characters(std::string_view) override {}
    void end(std::string_view) override {}

    std::set<std::string, std::less<>> members;
};

class PackageReader final : public XMLHandler {
public:
    struct Item {
        std::string member;
        std::string type;
        std::string properties; // words with blanks between them
    };

    explicit PackageReader(std::string_view path)
        : m_folder(path.substr(0, path.rfind('/') + 1)) {}

    void start(std::string_view name, const XMLAttributes& attributes) override {
        const auto value = [&](std::string_view key) {
            return std::string(attributes.find(key).value_or(""));
        };
        name = localName(name);
        m_text = nullptr;
        if (name == "item" && items.size() < maxItems)
            items.try_emplace(value("id"), Item{memberOf(m_folder, value("href")), value("media-type"),
                                                value("properties")});
        else if (name == "itemref" && spine.size() < maxItems && value("linear") != "no")
            spine.push_back(value("idref"));
        else if (name == "reference" && landmarks.size() < maxItems)
            landmarks.try_emplace(memberOf(m_folder, value("href")), ascii::lowered(value("type")));
        else if (name == "meta" && value("name") == "cover")
            cover = value("content");
        else if (name == "title")
            m_text = &title;
        else if (name == "creator")
            m_text = &creator;
        else if (name == "date")
            m_text = &date;
        if (m_text != nullptr && !m_text->empty()) // the first of each
            m_text = nullptr;
    }

    void characters(std::string_view text) override {
        constexpr std::size_t enough = 4096;
        if (m_text != nullptr && m_text->size() < enough)
            *m_text += text;
    }
    void end(std::string_view) override { m_text = nullptr; }

    [[nodiscard]] std::string coverMember() const {
        for (const auto& [id, item] : items)
            if (item.properties.find("cover-image") != item.properties.npos ||
                (id == cover && item.type.starts_with("image/")))
                return item.member;
        return {};
    }

    std::string title, creator, date, cover;
    std::map<std::string, Item, std::less<>> items;            // by id
    std::map<std::string, std::string, std::less<>> landmarks; // what a member is, by its name
    std::vector<std::string> spine;                            // ids

private:
    std::string m_folder;
    std::string* m_text = nullptr; // what is being read
};

/// Whether a page of the book only shows its cover or lists what is in it.
bool isFrontMatter(const PackageReader& package, const PackageReader::Item& item) {
    constexpr std::array<std::string_view, 6> types{"cover", "toc", "copyright-page", "loi", "lot", "index"};
    const auto landmark = package.landmarks.find(item.member);
    if (landmark != package.landmarks.end() && std::ranges::find(types, landmark->second) != types.end())
        return true;
    const std::string words = ' ' + item.properties + ' ';
    if (words.find(" nav ") != words.npos)
        return true;
    constexpr std::array<std::string_view, 8> names{"cover", "coverpage", "couverture", "toc",
                                                    "nav",   "contents",  "sommaire",   "tdm"};
    std::string name = ascii::lowered(item.member.substr(item.member.rfind('/') + 1));
    name.resize(std::min(name.find('.'), name.size()));
    return std::ranges::find(names, name) != names.end();
}

/// All style sheets of the book; a page links to one or all of them.
std::string stylesOf(OfficePackage& archive, const PackageReader& package) {
    constexpr std::size_t enough = 262'144;
    std::string styles;
    for (const auto& [id, item] : package.items) {
        if (item.type != "text/css" || styles.size() > enough)
            continue;
        if (const auto member = archive.part(item.member))
            styles.append(member->view().substr(0, enough)) += '\n';
    }
    return styles;
}

/// The lines of the chapters, or of the other pages where there are none.
void addPages(OfficePackage& archive, const PackageReader& package,
              const std::set<std::string, std::less<>>& encrypted, bool wantsFrontMatter,
              LineCollector& lines) {
    const std::string styles = stylesOf(archive, package);
    int chapters = 0;
    for (const std::string& id : package.spine) {
        const auto item = package.items.find(id);
        if (item == package.items.end() || encrypted.contains(item->second.member) ||
            isFrontMatter(package, item->second) != wantsFrontMatter)
            continue;
        if (lines.full() || ++chapters > maxChapters)
            return;
        const std::optional<ZipMember> member = archive.part(item->second.member);
        const std::optional<DocumentText> page = member ? readHTML(member->view(), styles) : std::nullopt;
        if (page)
            for (const std::string& line : page->lines)
                lines.add(line);
    }
}

} // namespace

std::optional<EPUBContent> readEPUB(std::string_view bytes) {
    std::optional<ZipReader> reader = ZipReader::open(bytes);
    if (!reader)
        return std::nullopt;
    OfficePackage archive(std::move(*reader));
    ContainerReader container;
    if (const auto member = archive.part("META-INF/container.xml"))
        parseXML(member->view(), container);
    const std::optional<ZipMember> description = archive.part(container.path);
    PackageReader package(container.path);
    if (!description || !parseXML(description->view(), package))
        return std::nullopt;
    EncryptionReader encryption;
    if (const auto member = archive.part("META-INF/encryption.xml"))
        parseXML(member->view(), encryption);

    EPUBContent result;
    LineCollector lines;
    addPages(archive, package, encryption.members, false, lines);
    if (lines.empty())
        addPages(archive, package, encryption.members, true, lines);
    const std::string title = unicode::repaired(unicode::trimmedWhiteSpace(package.title));
    if (!title.empty())
        result.text.title = title;
    result.text.lines = lines.take();
    result.text.date = documentDate(package.date);
    result.author = titleLine(package.creator);
    // What programs put there by themselves.
    if (const std::string folded = unicode::folded(result.author);
        folded == "unknown author" || folded == "unknown" || folded == "auteur inconnu" ||
        folded == "inconnu")
        result.author.clear();
    result.cover = package.coverMember();
    if (encryption.members.contains(result.cover))
        result.cover.clear();
    return result;
}

} // namespace vesto::readers
