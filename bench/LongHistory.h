#pragma once
#include "app/model/Store.h"
#include "core/support/Assert.h"

#include <fmt/format.h>
#include <stdlib.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <system_error>
#include <vector>

namespace vesto {

/// A history of a million renames as they come in years: words that return, numbers that do not. Made at
/// first use below TMPDIR, removed when the program ends.
class LongHistory {
public:
    static constexpr int rowCount = 1'000'000;

    static const std::filesystem::path& file() {
        static const LongHistory history;
        return history.m_file;
    }

    static RenameRecord row(int number) {
        static std::mt19937 random(1); // NOLINT: the same rows every time
        static constexpr std::array words{
            "Facture",    "Relevé",   "Contrat",  "Attestation", "Devis",    "Quittance", "Bulletin",
            "Rapport",    "annuel",   "de",       "d’eau",       "d’été",    "loyer",     "salaire",
            "assurance",  "maison",   "garantie", "voiture",     "médecin",  "notaire",   "impôts",
            "réunion",    "chantier", "école",    "Lège",        "Bordeaux", "signature", "chaudière",
            "ordonnance", "banque",   "mairie",   "photo"};
        const auto word = [&] { return words[random() % words.size()]; };
        RenameRecord record;
        record.date =
            referenceDate + std::chrono::minutes(number) + std::chrono::microseconds(random() % 1'000);
        record.folderPath = fmt::format("/home/marie/Documents/{}", number % 7);
        record.originalName = fmt::format("scan{:07}.pdf", number);
        record.newName = fmt::format("20{:02}-{:02}-{:02} {} {} {} {}.pdf", number % 25, number % 12 + 1,
                                     number % 28 + 1, word(), word(), word(), word());
        record.identity = {.device = 66'306,
                           .inode = static_cast<std::uint64_t>(number) + 1'000'000,
                           .birth = FileTime{1'700'000'000 + number, 5},
                           .name = {},
                           .volume = {},
                           .state = FileState{40'000, {1'700'000'000 + number, 6}}};
        record.status = RenameRecord::Status::done;
        record.confidence = 0.87;
        return record;
    }

private:
    LongHistory() {
        std::string folder = std::filesystem::temp_directory_path() / "vesto-bench-XXXXXX";
        VESTO_ASSERT(::mkdtemp(folder.data()) != nullptr);
        m_folder = folder;
        m_file = m_folder / "history.sqlite";
        auto store = Store::open(m_file);
        VESTO_ASSERT(store.has_value());
        constexpr int atOnce = 20'000;
        for (int first = 0; first < rowCount; first += atOnce) {
            std::vector<RenameRecord> rows;
            rows.reserve(atOnce);
            for (int number = first; number < first + atOnce; ++number)
                rows.push_back(row(number));
            VESTO_ASSERT(store->save(rows).has_value());
        }
    }
    ~LongHistory() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    std::filesystem::path m_folder;
    std::filesystem::path m_file;
};

} // namespace vesto
