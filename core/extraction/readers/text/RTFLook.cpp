#include "core/extraction/readers/text/RTFLook.h"

#include "core/extraction/readers/text/RTFCharsets.h"
#include "core/support/Charset.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace vesto::readers::rtf {
namespace {

constexpr std::size_t maxFonts = 4096;
constexpr std::size_t maxColors = 4096;
constexpr int smallestHalfPoints = 4; // smaller text is not to be seen
constexpr int leastWhite = 240;       // of each part of a colour

} // namespace

bool Looks::shows(const Look& look) const {
    if (look.isHidden || look.isDeleted || look.isTiny)
        return false;
    return !look.isWhite || look.hasGround || look.hasParagraphGround || (look.isInTable && m_rowHasGround);
}

std::string Looks::decoded(std::string_view bytes, const Look& look) const {
    std::optional<std::string> text;
    const auto charset = m_fontCharsets.find(look.font < 0 ? m_defaultFont : look.font);
    if (charset != m_fontCharsets.end() && !charset->second.empty())
        text = unicode::decodeCharset(bytes, charset->second);
    if (!text)
        text = unicode::decodeCharset(bytes, m_charset);
    if (!text)
        text = unicode::decodeCharset(bytes, "windows-1252");
    return text ? *std::move(text) : std::string(bytes);
}

bool Looks::characterWord(Look& look, std::string_view name, std::optional<int> number) {
    const bool isOn = number.value_or(1) != 0;
    if (name == "v" || name == "webhidden")
        look.isHidden = isOn;
    else if (name == "deleted")
        look.isDeleted = isOn;
    else if (name == "fs")
        look.isTiny = number.value_or(24) < smallestHalfPoints;
    else if (name == "cf")
        look.isWhite = isWhite(number.value_or(0));
    else if (name == "highlight" || name == "cb" || name == "chcbpat" || name == "chshdng")
        look.hasGround = number.value_or(0) != 0;
    else if (name == "uc")
        look.fallbackLength = std::clamp(number.value_or(1), 0, 16);
    else if (name == "f")
        look.font = number.value_or(0);
    else if (name == "plain") {
        look.font = m_defaultFont;
        look.isHidden = look.isTiny = look.isWhite = look.hasGround = false;
    } else
        return paragraphWord(look, name, number);
    return true;
}

/// Words of paragraphs and rows that say what text stands on.
bool Looks::paragraphWord(Look& look, std::string_view name, std::optional<int> number) {
    if (name == "pard")
        look.hasParagraphGround = look.isInTable = false;
    else if (name == "cbpat" || name == "shading")
        look.hasParagraphGround = number.value_or(0) != 0;
    else if (name == "intbl")
        look.isInTable = true;
    else if (name == "trowd")
        m_rowHasGround = false;
    else if (name == "clcbpat" || name == "clshdng")
        m_rowHasGround = m_rowHasGround || number.value_or(0) != 0;
    else
        return false;
    return true;
}

bool Looks::isWhite(int color) const {
    return color >= 0 && static_cast<std::size_t>(color) < m_whiteColors.size() &&
           m_whiteColors[static_cast<std::size_t>(color)];
}

void Looks::documentWord(std::string_view name, int value) {
    if (name == "ansicpg")
        m_charset = charsetOfCodePage(value);
    else if (name == "mac")
        m_charset = "macintosh";
    else if (name == "pc")
        m_charset = "ibm-437";
    else if (name == "pca")
        m_charset = "ibm-850";
    else if (name == "deff")
        m_defaultFont = value;
}

void Looks::fontWord(const Look& look, std::string_view name, int value) {
    if (m_fontCharsets.size() >= maxFonts)
        return;
    if (name == "fcharset")
        m_fontCharsets.try_emplace(look.font, charsetOfFont(value));
    else if (name == "cpg")
        m_fontCharsets[look.font] = charsetOfCodePage(value);
}

void Looks::colorWord(std::string_view name, int value) {
    if (name == "red" || name == "green" || name == "blue")
        m_whiteParts += value >= leastWhite ? 1 : 0;
}

void Looks::endColor() {
    if (m_whiteColors.size() < maxColors)
        m_whiteColors.push_back(std::exchange(m_whiteParts, 0) == 3);
}

} // namespace vesto::readers::rtf
