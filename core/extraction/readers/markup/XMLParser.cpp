#include "core/extraction/readers/markup/XMLParser.h"

#include "core/support/Charset.h"
#include "core/support/Unicode.h"

#include <expat.h>

#include <limits>
#include <memory>
#include <type_traits>

namespace vesto::readers {
namespace {

constexpr int maxDepth = 100'000; // Expat keeps some 150 bytes for each open element

struct Parse {
    XML_Parser parser;
    XMLHandler& handler;
    int depth = 0;
    bool sawRoot = false;
    bool stopped = false; // Expat may still send an event or two after it was told to stop

    void stop() {
        stopped = true;
        ::XML_StopParser(parser, XML_FALSE);
    }

    void stopWhenDone() {
        if (handler.isDone())
            stop();
    }
};

void XMLCALL onStart(void* data, const XML_Char* name, const XML_Char** attributes) {
    auto& parse = *static_cast<Parse*>(data);
    if (parse.stopped)
        return;
    parse.sawRoot = true;
    if (++parse.depth >= maxDepth) {
        parse.stop();
        return;
    }
    parse.handler.start(name, XMLAttributes(attributes));
    parse.stopWhenDone();
}

void XMLCALL onEnd(void* data, const XML_Char* name) {
    auto& parse = *static_cast<Parse*>(data);
    if (parse.stopped)
        return;
    --parse.depth;
    parse.handler.end(name);
    parse.stopWhenDone();
}

void XMLCALL onCharacters(void* data, const XML_Char* text, int size) {
    auto& parse = *static_cast<Parse*>(data);
    if (parse.stopped)
        return;
    parse.handler.characters({text, static_cast<std::size_t>(size)});
    parse.stopWhenDone();
}

// Documents of office programs declare no entities; what does so is made to blow up.
void XMLCALL onEntityDeclaration(void* data, const XML_Char*, int, const XML_Char*, int, const XML_Char*,
                                 const XML_Char*, const XML_Char*, const XML_Char*) {
    static_cast<Parse*>(data)->stop();
}

/// Expat itself knows UTF-8, UTF-16, Latin-1 and ASCII. Of the others it can be told those of one byte each.
int XMLCALL onUnknownEncoding(void*, const XML_Char* name, XML_Encoding* encoding) {
    for (int byte = 0; byte < 256; ++byte) {
        const char single = static_cast<char>(byte);
        const std::optional<std::string> text = unicode::decodeCharset({&single, 1}, name);
        if (!text)
            return XML_STATUS_ERROR;
        encoding->map[byte] = -1;
        if (text->empty())
            continue;
        const unicode::Scalar scalar = unicode::scalarAt(*text, 0);
        if (scalar.size == text->size() && scalar.value != unicode::replacementCharacter)
            encoding->map[byte] = static_cast<int>(scalar.value);
    }
    return XML_STATUS_OK;
}

struct FreeParser {
    void operator()(XML_Parser parser) const { ::XML_ParserFree(parser); }
};

} // namespace

std::optional<std::string_view> XMLAttributes::find(std::string_view name) const {
    for (const char* const* pair = m_pairs; *pair != nullptr; pair += 2) {
        if (name == pair[0])
            return pair[1];
    }
    return std::nullopt;
}

bool XMLAttributes::has(std::string_view name, std::string_view value) const {
    return find(name) == value;
}

bool parseXML(std::string_view xml, XMLHandler& handler) {
    if (xml.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        return false;
    const std::unique_ptr<std::remove_pointer_t<XML_Parser>, FreeParser> parser(::XML_ParserCreate(nullptr));
    if (parser == nullptr)
        return false;
    Parse parse{.parser = parser.get(), .handler = handler};
    ::XML_SetUserData(parser.get(), &parse);
    ::XML_SetElementHandler(parser.get(), onStart, onEnd);
    ::XML_SetCharacterDataHandler(parser.get(), onCharacters);
    ::XML_SetEntityDeclHandler(parser.get(), onEntityDeclaration);
    ::XML_SetUnknownEncodingHandler(parser.get(), onUnknownEncoding, nullptr);
    // All in one go: given in pieces, a token of many pieces would be scanned once for each.
    ::XML_Parse(parser.get(), xml.data(), static_cast<int>(xml.size()), XML_TRUE);
    return parse.sawRoot;
}

} // namespace vesto::readers
