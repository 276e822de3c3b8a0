#pragma once
#include "app/model/RenameRecord.h"
#include "app/model/Sqlite.h"
#include "app/model/Store.h"
#include "core/support/UnicodeSearch.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

/// Search in the names of the history. Folded copies of the names stand in blocks of some hundred rows, which
/// are read one after the other: a scan of memory, equally fast for words of one letter and for words that
/// nothing holds. What was added since the last block is read from the rows themselves.
namespace vesto::NameSearch {

/// To be called within the work that adds a row, with its number.
void rowAdded(sqlite::Work& work, std::int64_t number);

/// To be called within the work that changes the date or a name of a row. Rows that are removed need nothing.
void rowChanged(sqlite::Work& work, std::int64_t number);

/// The newest `limit` rows that match and stand behind `after`, newest first. Stops earlier once it has
/// looked through `effort` blocks, and says where to go on.
[[nodiscard]] Store::Part find(sqlite::Work& work, std::string_view word, std::string_view languageCode,
                               std::size_t limit, const std::optional<Store::Place>& after,
                               std::size_t effort);

/// How many rows match, counted a part at a time: rows numbered behind `after`, and how far that came.
struct Count {
    std::size_t matches = 0;
    std::int64_t upTo = 0; // the number of a row
    bool isComplete = false;
};
/// Looks through a thousand rows or two, or through some ten thousand where hardly any matches.
[[nodiscard]] Count count(sqlite::Work& work, std::string_view word, std::string_view languageCode,
                          std::int64_t after);

} // namespace vesto::NameSearch
