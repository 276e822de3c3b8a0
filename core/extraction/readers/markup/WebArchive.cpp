#include "core/extraction/readers/markup/WebArchive.h"

#include "core/extraction/readers/Ascii.h"
#include "core/extraction/readers/containers/PropertyList.h"
#include "core/extraction/readers/mail/MailHeaders.h"
#include "core/extraction/readers/markup/HTMLText.h"
#include "core/extraction/readers/markup/XMLParser.h"
#include "core/extraction/readers/text/PlainTextReader.h"

#include <string>

namespace vesto::readers {
namespace {

constexpr std::string_view mainResource = "WebMainResource", resourceData = "WebResourceData",
                           resourceType = "WebResourceMIMEType",
                           resourceCharset = "WebResourceTextEncodingName";
constexpr std::size_t maxPageBytes = 16'777'216;

struct Resource {
    std::string data, type, charset;
};

std::optional<Resource> readBinary(std::string_view bytes) {
    const std::optional<PropertyList> list = PropertyList::open(bytes);
    const auto page = list ? list->find(list->root(), mainResource) : std::nullopt;
    const auto data = page ? list->find(*page, resourceData) : std::nullopt;
    const auto content = data ? list->data(*data) : std::nullopt;
    if (!content)
        return std::nullopt;
    const auto textOf = [&](std::string_view key) {
        const auto value = list->find(*page, key);
        return std::string(value ? list->text(*value).value_or("") : "");
    };
    return Resource{std::string(content->substr(0, maxPageBytes)), textOf(resourceType),
                    textOf(resourceCharset)};
}

/// Keys and values stand in turn; dictionaries in one another.
class ResourceReader final : public XMLHandler {
public:
    void start(std::string_view name, const XMLAttributes&) override {
        m_text.clear();
        if (name != "dict")
            return;
        ++m_depth;
        if (m_depth == 2 && m_key == mainResource)
            m_isMain = true;
    }

    void characters(std::string_view text) override {
        if (m_text.size() < 2 * maxPageBytes)
            m_text += text;
    }

    void end(std::string_view name) override {
        if (name == "dict") {
            --m_depth;
            if (m_isMain && m_depth < 2)
                stop();
        } else if (name == "key") {
            m_key = m_text;
        } else if (m_isMain && m_depth == 2) {
            if (m_key == resourceData)
                page.data = mailBody(m_text, "base64", maxPageBytes);
            else if (m_key == resourceType)
                page.type = m_text;
            else if (m_key == resourceCharset)
                page.charset = m_text;
        }
        m_text.clear();
    }

    Resource page;

private:
    int m_depth = 0; // of dictionaries
    bool m_isMain = false;
    std::string m_key;
    std::string m_text;
};

} // namespace

std::optional<DocumentText> readWebArchive(std::string_view bytes) {
    std::optional<Resource> page = readBinary(bytes);
    if (!page && ascii::trimmed(bytes.substr(0, 64)).starts_with("<?xml")) {
        ResourceReader reader;
        parseXML(bytes, reader);
        if (!reader.page.data.empty())
            page = std::move(reader.page);
    }
    if (!page)
        return std::nullopt;
    const bool isHTML = page->type.empty() || page->type.find("html") != page->type.npos;
    if (isHTML && page->charset.empty())
        return readHTML(page->data);
    if (!isHTML && !page->type.starts_with("text/"))
        return std::nullopt;
    const std::optional<std::string> text = mailText(page->data, page->charset);
    if (!text)
        return std::nullopt;
    return isHTML ? htmlText(*text) : plainText(*text);
}

} // namespace vesto::readers
