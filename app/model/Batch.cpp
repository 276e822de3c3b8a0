#include "app/model/Batch.h"

#include "core/support/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace vesto {

using Counter = BatchLine::Counter;

std::size_t Batch::selectedCount() const {
    return static_cast<std::size_t>(
        std::ranges::count_if(items, [](const Item& each) { return each.selected && each.isProposed(); }));
}

Batch::Item* Batch::item(std::string_view proposalID) {
    const auto found = std::ranges::find(
        items, proposalID, [](const Item& each) -> const std::string& { return each.proposal.id; });
    return found == items.end() ? nullptr : &*found;
}

std::string fileCount(std::size_t count) {
    std::string digits = std::to_string(count);
    for (std::size_t place = digits.size(); place > 3;) {
        place -= 3;
        digits.insert(place, "\u202F");
    }
    return fmt::format("{} {}", digits, text(count > 1 ? "fichiers" : "fichier"));
}

std::vector<BatchLine> batchLines(const Batch& batch) {
    struct Row {
        Counter counter;
        std::size_t count;
        std::string_view key;
    };
    const std::array<Row, 6> rows{
        {{Counter::wellNamed, batch.wellNamed.size(), "Nom déjà parlant :"},
         {Counter::noTitleBefore, batch.noTitleBefore.size(), "Sans résultat lors d'un passage précédent :"},
         {Counter::noTitle, batch.noTitle, "Sans titre exploitable, texte illisible ou trop pauvre :"},
         {Counter::alreadyDone, batch.alreadyDone,
          "Déjà traité par Vesto (renommage, annulation ou refus) :"},
         {Counter::notLocal, batch.notLocal, "Dans iCloud sans copie sur ce Mac, à télécharger d'abord :"},
         {Counter::subfolders, batch.subfolders,
          "Sous-dossiers non parcourus, à ajouter comme dossiers surveillés :"}}};
    std::vector<BatchLine> lines;
    for (const Row& row : rows)
        if (row.count > 0)
            lines.push_back(
                {row.counter, row.count, fmt::format("{} {}", text(row.key), fileCount(row.count))});
    return lines;
}

std::string_view batchStatus(const Batch& batch) {
    if (batch.isAnalysing())
        return text("Analyse en cours…");
    if (batch.items.empty())
        return text("Aucun fichier à renommer : les noms sont déjà parlants ou ont déjà été traités.");
    return {};
}

std::string batchTitle(const Batch& batch) {
    return fmt::format("{}« {} »", text("Fichiers existants de "), batch.folderName);
}

} // namespace vesto
