#include "app/model/EvidenceSheet.h"

#include "core/naming/TitleEvidence.h"
#include "core/support/Printable.h"
#include "core/support/Text.h"
#include "core/support/Unicode.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace vesto {
namespace {

using Line = EvidenceLine;
using Match = TitleEvidence::Match;
using Mark = EvidenceLine::Mark;
using Tone = EvidenceLine::Tone;

/// What stands in a file, made fit to be shown.
std::string shown(std::string_view foreign) {
    std::string result;
    for (std::size_t offset = 0; offset < foreign.size();) {
        const unicode::Scalar scalar = unicode::scalarAt(foreign, offset);
        if (unicode::isNewline(scalar.value) || scalar.value == '\t')
            result += ' ';
        else if (!unicode::isControl(scalar.value))
            unicode::append(result, scalar.value);
        offset += scalar.size;
    }
    return result;
}

/// "87 %", the number and a narrow blank.
std::string percentage(double share) {
    if (!(share >= 0))
        share = 0;
    return fmt::format("{}\u202F%", std::lround(std::min(share, 1.0) * 100));
}

std::string_view howRead(const ContentSummary& summary) {
    if (summary.textFromSpeech)
        return text("transcription");
    return summary.textFromOCR ? text("texte reconnu") : std::string_view();
}

std::string placeOf(const TitleEvidence::Word& word, const ContentSummary& summary) {
    if (!word.line)
        return fmt::format(" · {}", text("titre des métadonnées"));
    std::string place = fmt::format(" · {} {}", text("ligne"), *word.line);
    if (const std::string_view read = howRead(summary); !read.empty())
        place += fmt::format(" · {}", read);
    return place;
}

/// What stands between the word and the quotation.
std::string_view leadOf(Match match) {
    switch (match) {
    case Match::near:
        return text("proche de");
    case Match::month:
        return text("date");
    case Match::exact:
    case Match::absent:
    case Match::period:
        break;
    }
    return {};
}

Line lineOf(const TitleEvidence::Word& word, const ContentSummary& summary) {
    Line line{.mark = Mark::found, .pieces = {{shown(word.word), Tone::strong}}};
    if (!word.isFound()) {
        const bool isPeriod = word.match == Match::period;
        line.mark = isPeriod ? Mark::note : Mark::absent;
        line.pieces.push_back(
            {fmt::format(" {}", isPeriod ? text("période détectée, non comptée") : text("absent du texte")),
             Tone::secondary});
        return line;
    }
    if (word.match == Match::near)
        line.mark = Mark::near;
    const std::string_view lead = leadOf(word.match);
    // A near word or a date says all by itself; the word itself is shown where it stands.
    const bool isShort = !lead.empty();
    line.pieces.push_back({fmt::format(" {}{}«\u00A0{}{}", lead, isShort ? " " : "", isolateBegin,
                                       isShort ? std::string() : shown(word.before)),
                           Tone::secondary});
    line.pieces.push_back({shown(word.found), Tone::plain});
    line.pieces.push_back({fmt::format("{}{}\u00A0»{}", isShort ? std::string() : shown(word.after),
                                       isolateEnd, placeOf(word, summary)),
                           Tone::secondary});
    return line;
}

Line lineOf(const ContentSummary::Label& label) {
    return {.mark = Mark::label,
            .pieces = {{shown(label.identifier), Tone::strong},
                       {fmt::format(" {} · {}", text("reconnu dans l'image"), percentage(label.confidence)),
                        Tone::secondary}}};
}

std::string foundSentence(const TitleEvidence& found) {
    const std::string_view key = found.foundCount() > 1
                                     ? "%n mots du titre sur %2 retrouvés dans le texte du fichier"
                                     : "%n mot du titre sur %2 retrouvé dans le texte du fichier";
    std::string sentence(text(key));
    sentence.replace(sentence.find("%n"), 2, std::to_string(found.foundCount()));
    sentence.replace(sentence.find("%2"), 2, std::to_string(found.judgedCount()));
    return sentence;
}

} // namespace

std::string EvidenceLine::text() const {
    std::string whole;
    for (const Piece& piece : pieces)
        whole += piece.text;
    return whole;
}

EvidenceSheet evidenceSheet(const Proposal& proposal, std::string_view title) {
    const bool isEdited = title != proposal.title;
    EvidenceSheet sheet{.confidence = isEdited ? std::nullopt : std::optional(proposal.confidence)};
    const TitleEvidence found = evidence(title, proposal.summary);
    if (!found.isGrounded) {
        sheet.sentences.emplace_back(text("Trop peu de texte dans ce fichier pour vérifier le titre"));
        for (const ContentSummary::Label& label : proposal.summary.labels)
            sheet.lines.push_back(lineOf(label));
        return sheet;
    }
    sheet.sentences.push_back(found.judgedCount() == 0
                                  ? std::string(text("Aucun mot du titre ne peut être vérifié"))
                                  : foundSentence(found));
    const double cap = ConfidenceScorer().fallbackCap;
    if (!isEdited && proposal.source == ConfidenceScorer::Source::fallback && proposal.confidence >= cap)
        sheet.sentences.emplace_back(text("Titre pris dans le texte lu : confiance plafonnée à 55 %"));
    for (const TitleEvidence::Word& word : found.words)
        sheet.lines.push_back(lineOf(word, proposal.summary));
    return sheet;
}

} // namespace vesto
