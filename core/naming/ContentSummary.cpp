#include "core/naming/ContentSummary.h"

#include "core/support/Assert.h"
#include "core/support/Unicode.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace vesto {
namespace {

constexpr std::size_t maxTextLength = 1500; // grapheme clusters
constexpr std::size_t leastRoom = 21;       // a shorter beginning of a line says nothing
constexpr std::size_t maxPromptLabels = 5;

struct KindNames {
    ContentSummary::Kind kind;
    std::string_view raw;
    std::string_view prompt;
};

using Kind = ContentSummary::Kind;
constexpr std::array<KindNames, 11> kindNames{{
    {Kind::screenshot, "screenshot", "capture d'écran"},
    {Kind::photo, "photo", "photo"},
    {Kind::image, "image", "image"},
    {Kind::pdf, "pdf", "document PDF"},
    {Kind::document, "document", "document texte"},
    {Kind::spreadsheet, "spreadsheet", "tableur"},
    {Kind::presentation, "presentation", "présentation"},
    {Kind::email, "email", "courrier électronique"},
    {Kind::audio, "audio", "enregistrement audio"},
    {Kind::video, "video", "vidéo"},
    {Kind::ebook, "ebook", "livre numérique"},
}};

const KindNames& namesOf(Kind kind) {
    const auto index = static_cast<std::size_t>(kind);
    VESTO_ASSERT(index < kindNames.size() && kindNames[index].kind == kind);
    return kindNames[index];
}

std::string labelList(const std::vector<ContentSummary::Label>& labels) {
    std::string list;
    for (std::size_t i = 0; i < std::min(labels.size(), maxPromptLabels); ++i) {
        if (i > 0)
            list += ", ";
        list += fmt::format("{} ({:.2f})", labels[i].identifier, labels[i].confidence);
    }
    return list;
}

std::int64_t wholeSeconds(Seconds duration) {
    const double rounded = std::round(duration.count());
    VESTO_ASSERT(rounded >= -0x1p63 && rounded < 0x1p63); // false for what is not finite, too
    return static_cast<std::int64_t>(rounded);
}

} // namespace

std::string_view rawValue(ContentSummary::Kind kind) {
    return namesOf(kind).raw;
}

std::optional<ContentSummary::Kind> kindOfRawValue(std::string_view rawValue) {
    for (const KindNames& names : kindNames)
        if (names.raw == rawValue)
            return names.kind;
    return std::nullopt;
}

std::string ContentSummary::text() const {
    std::string text;
    std::size_t length = 0;
    for (const std::string& line : lines) {
        // A separator is counted for the first line as well, which gets none.
        if (length + 1 > maxTextLength)
            break;
        const std::size_t room = maxTextLength - 1 - length;
        const std::string_view head = unicode::graphemePrefix(line, room);
        const bool fits = head.size() == line.size();
        if (!fits && room < leastRoom)
            break;
        if (!text.empty()) {
            if (text.back() != '\r') // with which the line feed is one character
                ++length;
            text += '\n';
        }
        text += head;
        if (!fits)
            break;
        length += unicode::graphemeCount(line);
    }
    return text;
}

std::size_t ContentSummary::letterCount() const {
    return vesto::letterCount(text());
}

std::size_t letterCount(std::string_view text, std::size_t enough) {
    std::size_t count = 0;
    for (std::size_t offset = 0; offset < text.size() && count < enough;) {
        const unicode::Scalar scalar = unicode::scalarAt(text, offset);
        if (unicode::isLetterOrMark(scalar.value))
            ++count;
        offset += scalar.size;
    }
    return count;
}

std::string ContentSummary::modelPrompt(const Locale& locale) const {
    std::string prompt = fmt::format("Type : {}", namesOf(kind).prompt);
    if (formatName)
        prompt += fmt::format(" ({})", *formatName);
    if (duration)
        prompt += fmt::format("\nDurée : {} s", wholeSeconds(*duration));
    if (textFromSpeech)
        prompt += "\nLe texte est une transcription automatique de la parole.";
    if (documentTitle)
        prompt += "\nTitre des métadonnées : " + *documentTitle;
    if (pageCount)
        prompt += fmt::format("\nPages : {}", *pageCount);
    if (period)
        prompt += "\nPériode détectée : " + period->label(locale);
    if (!labels.empty())
        prompt += "\nContenu visuel détecté (labels anglais) : " + labelList(labels);
    const std::string readText = text();
    if (readText.empty())
        prompt += "\nTexte lu : aucun";
    else
        prompt += "\nTexte lu :\n\"\"\"\n" + readText + "\n\"\"\"";
    return prompt;
}

} // namespace vesto
