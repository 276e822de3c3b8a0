#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vesto::readers::rtf {

/// How the characters of a group look and are read.
struct Look {
    int font = -1;          // none yet
    int fallbackLength = 1; // characters that follow a \u
    bool isHidden = false;
    bool isDeleted = false;
    bool isTiny = false;
    bool isWhite = false;            // the text,
    bool hasGround = false;          // on a colour of its own
    bool hasParagraphGround = false; // or of its paragraph
    bool isInTable = false;
};

/// What one document says of its characters: its fonts, colours and charset, and the table's row at hand.
class Looks {
public:
    /// Whether somebody who looks at the document sees such characters.
    [[nodiscard]] bool shows(const Look& look) const;

    /// The bytes as text, in the charset that is in force.
    [[nodiscard]] std::string decoded(std::string_view bytes, const Look& look) const;

    /// Whether the word changes the font, and with it the charset of the bytes that follow.
    [[nodiscard]] static bool isFontWord(std::string_view name) { return name == "plain" || name == "f"; }

    /// A word that changes a look, or the row. False: it is of another kind.
    bool characterWord(Look& look, std::string_view name, std::optional<int> number);

    // Words for all of the document, and in its tables of fonts and colours. Others change nothing.
    void documentWord(std::string_view name, int value);
    void fontWord(const Look& look, std::string_view name, int value);
    void colorWord(std::string_view name, int value);
    void endColor();

private:
    [[nodiscard]] bool isWhite(int color) const;
    bool paragraphWord(Look& look, std::string_view name, std::optional<int> number);

    std::string m_charset = "windows-1252";
    int m_defaultFont = 0;
    std::unordered_map<int, std::string> m_fontCharsets;
    std::vector<bool> m_whiteColors; // by number
    int m_whiteParts = 0;            // of the colour that is being read
    bool m_rowHasGround = false;     // some cell of the table's row has a colour
};

} // namespace vesto::readers::rtf
