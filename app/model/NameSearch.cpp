#include "app/model/NameSearch.h"

#include "app/model/StoreRows.h"

#include <string.h>

#include <algorithm>
#include <limits>
#include <string>
#include <tuple>

namespace vesto::NameSearch {
namespace {

using sqlite::Blob;
using sqlite::Error;
using sqlite::Query;
using sqlite::Work;

constexpr std::int64_t rowsInBlock = 512;

/// A row of a block. In the column `rows`: number and date of eight bytes, end of four, lowest byte first.
struct Entry {
    std::int64_t number;
    std::int64_t date;
    std::size_t end; // of its keys in the block's
};
constexpr std::size_t entrySize = 20; // bytes

void appendInteger(std::string& bytes, std::uint64_t value, int size) {
    for (int byte = 0; byte < size; ++byte)
        bytes.push_back(static_cast<char>(static_cast<unsigned char>(value >> (8 * byte))));
}

std::uint64_t integerAt(std::string_view bytes, std::size_t offset, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t byte = size; byte-- > 0;)
        value = value << 8U | static_cast<unsigned char>(bytes[offset + byte]);
    return value;
}

/// Nothing where the block is not as we write them.
std::optional<std::vector<Entry>> entriesOf(std::string_view rows, std::size_t keysSize) {
    if (rows.size() % entrySize != 0)
        return std::nullopt;
    std::vector<Entry> entries;
    entries.reserve(rows.size() / entrySize);
    std::size_t previousEnd = 0;
    for (std::size_t at = 0; at < rows.size(); at += entrySize) {
        const Entry entry{static_cast<std::int64_t>(integerAt(rows, at, 8)),
                          static_cast<std::int64_t>(integerAt(rows, at + 8, 8)),
                          static_cast<std::size_t>(integerAt(rows, at + 16, 4))};
        if (entry.end <= previousEnd || entry.end > keysSize)
            return std::nullopt;
        previousEnd = entry.end;
        entries.push_back(entry);
    }
    if (previousEnd != keysSize)
        return std::nullopt;
    return entries;
}

std::int64_t lastInBlocks(Work& work) {
    Query query(work, "SELECT max(last) FROM NameBlock");
    return query.next() ? query.integer(0) : 0;
}

/// Writes the block of the rows behind `before`, up to `last`.
void writeBlock(Work& work, std::int64_t before, std::int64_t last) {
    std::string rows;
    std::string keys;
    std::int64_t newest = std::numeric_limits<std::int64_t>::min();
    std::int64_t oldest = std::numeric_limits<std::int64_t>::max();
    {
        Query query(work,
                    "SELECT number, date, originalName, newName FROM RenameRecord "
                    "WHERE number > ? AND number <= ? ORDER BY number",
                    before, last);
        while (query.next()) {
            const std::int64_t date = query.integer(1);
            newest = std::max(newest, date);
            oldest = std::min(oldest, date);
            for (const int name : {2, 3}) {
                keys += unicode::CaselessSearch::keyOf(query.bytes(name));
                keys += '\0'; // in no name, so that no word is found across two
            }
            appendInteger(rows, static_cast<std::uint64_t>(query.integer(0)), 8);
            appendInteger(rows, static_cast<std::uint64_t>(date), 8);
            appendInteger(rows, keys.size(), 4);
        }
    }
    work.run("INSERT OR REPLACE INTO NameBlock (last, newest, oldest, rows, keys) VALUES (?, ?, ?, ?, ?)",
             last, newest, oldest, Blob{rows}, Blob{keys});
}

/// The rows of one block whose keys hold `key`, newest first.
std::vector<Entry> candidates(std::vector<Entry> entries, std::string_view keys, std::string_view key) {
    std::vector<Entry> found;
    std::size_t at = 0;
    for (auto entry = entries.begin(); entry != entries.end();) {
        const void* match = ::memmem(keys.data() + at, keys.size() - at, key.data(), key.size());
        if (match == nullptr)
            break;
        const auto place = static_cast<std::size_t>(static_cast<const char*>(match) - keys.data());
        while (entry->end <= place)
            ++entry;
        found.push_back(*entry);
        at = entry->end;
        ++entry;
    }
    std::ranges::stable_sort(found, std::ranges::greater(), &Entry::date);
    return found;
}

struct Match {
    std::int64_t date;
    RenameRecord record;

    bool operator<(const Match& other) const { // newest first
        return std::tie(date, record.id) > std::tie(other.date, other.record.id);
    }
};

/// What is asked for, and what was found so far.
class Search {
public:
    Search(Work& work, std::string_view word, std::string_view languageCode, std::size_t limit,
           const std::optional<Store::Place>& after, std::size_t effort)
        : m_work(work)
        , m_word(word, languageCode)
        , m_key(unicode::CaselessSearch::keyOf(word))
        , m_limit(limit)
        , m_after(after)
        , m_from(after ? StoreRows::numberOf(after->date) : std::numeric_limits<std::int64_t>::max())
        , m_effort(effort) {}

    Store::Part run() {
        scanLatestRows();
        const std::optional<std::int64_t> unseen = scanBlocks();
        Store::Part part;
        part.records.reserve(m_matches.size());
        for (Match& match : m_matches)
            if (!unseen || match.date > *unseen)
                part.records.push_back(std::move(match.record));
        if (part.records.size() == m_limit)
            part.next = Store::Place::of(part.records.back());
        else if (unseen)
            part.next = Store::Place{StoreRows::dateOf(*unseen + 1), {}};
        return part;
    }

private:
    void take(const Query& query) {
        RenameRecord record = StoreRows::recordAt(query, m_work);
        const bool isBehind =
            !m_after || std::tie(record.date, record.id) < std::tie(m_after->date, m_after->id);
        if (isBehind && (m_word.matches(record.originalName) || m_word.matches(record.newName)))
            m_matches.push_back({StoreRows::numberOf(record.date), std::move(record)});
    }

    void keepNewest() {
        std::ranges::sort(m_matches, std::less());
        if (m_matches.size() > m_limit)
            m_matches.erase(m_matches.begin() + static_cast<std::ptrdiff_t>(m_limit), m_matches.end());
    }

    void scanLatestRows() {
        static const std::string latest = std::string("SELECT ") + StoreRows::recordColumns +
                                          " FROM RenameRecord WHERE number > ? AND date <= ?";
        Query query(m_work, latest.c_str(), lastInBlocks(m_work), m_from);
        while (query.next())
            take(query);
        keepNewest();
    }

    /// Nothing when all are done; else the newest date of those that were not looked at.
    std::optional<std::int64_t> scanBlocks() {
        Query blocks(m_work,
                     "SELECT newest, rows, keys FROM NameBlock WHERE oldest <= ? ORDER BY newest DESC",
                     m_from);
        std::size_t looked = 0;
        std::int64_t previous = m_from;
        while (blocks.next()) {
            const std::int64_t newest = blocks.integer(0);
            if (m_matches.size() >= m_limit && m_matches.back().date > newest)
                return std::nullopt; // all that follows is older
            // Only where a date ends, so that the next part begins further down than this one did.
            if (looked >= m_effort && newest < previous)
                return newest;
            if (newest < m_from)
                ++looked;
            previous = newest;
            const std::string_view keys = blocks.bytes(2);
            auto entries = entriesOf(blocks.bytes(1), keys.size());
            if (!entries) {
                m_work.fail(Error::damage("a block of names that makes no sense"));
                return std::nullopt;
            }
            scanBlock(candidates(*std::move(entries), keys, m_key));
        }
        return std::nullopt;
    }

    void scanBlock(const std::vector<Entry>& entries) {
        static const std::string byNumber =
            std::string("SELECT ") + StoreRows::recordColumns + " FROM RenameRecord WHERE number = ?";
        const std::size_t before = m_matches.size();
        for (const Entry& entry : entries) {
            if (entry.date > m_from)
                continue;
            const std::size_t found = m_matches.size() - before;
            if (found >= m_limit && entry.date < m_matches[before + m_limit - 1].date)
                break;
            Query query(m_work, byNumber.c_str(), entry.number);
            if (query.next()) // else it was removed
                take(query);
        }
        keepNewest();
    }

    Work& m_work;
    unicode::CaselessSearch m_word;
    std::string m_key;
    std::size_t m_limit;
    const std::optional<Store::Place>& m_after;
    std::int64_t m_from; // the newest date that is wanted
    std::size_t m_effort;
    std::vector<Match> m_matches;
};

} // namespace

void rowAdded(Work& work, std::int64_t number) {
    if (const std::int64_t last = lastInBlocks(work); number - last >= rowsInBlock)
        writeBlock(work, last, number);
}

void rowChanged(Work& work, std::int64_t number) {
    std::int64_t last = 0;
    std::int64_t before = 0;
    {
        Query query(work, "SELECT last FROM NameBlock WHERE last >= ? ORDER BY last LIMIT 1", number);
        if (!query.next())
            return; // in no block yet
        last = query.integer(0);
    }
    {
        Query query(work, "SELECT max(last) FROM NameBlock WHERE last < ?", last);
        if (query.next())
            before = query.integer(0);
    }
    writeBlock(work, before, last);
}

Store::Part find(Work& work, std::string_view word, std::string_view languageCode, std::size_t limit,
                 const std::optional<Store::Place>& after, std::size_t effort) {
    if (limit == 0)
        return {};
    return Search(work, word, languageCode, limit, after, effort).run();
}

Count count(Work& work, std::string_view word, std::string_view languageCode, std::int64_t after) {
    constexpr std::size_t mostCandidates = 1'000;
    constexpr int mostBlocks = 16;
    const unicode::CaselessSearch search(word, languageCode);
    const std::string key = unicode::CaselessSearch::keyOf(word);
    Count counted{.matches = 0, .upTo = after};
    std::size_t looked = 0;
    const auto look = [&](Query rows) {
        while (rows.next()) {
            ++looked;
            if (search.matches(rows.bytes(0)) || search.matches(rows.bytes(1)))
                ++counted.matches;
        }
    };
    Query blocks(work, "SELECT last, keys FROM NameBlock WHERE last > ? ORDER BY last", after);
    for (int block = 0; block < mostBlocks && looked < mostCandidates; ++block) {
        if (!blocks.next()) {
            look(
                Query(work, "SELECT originalName, newName FROM RenameRecord WHERE number > ?", counted.upTo));
            counted.isComplete = true;
            break;
        }
        const std::int64_t last = blocks.integer(0);
        const std::string_view keys = blocks.bytes(1);
        if (keys.find(key) != std::string_view::npos)
            look(Query(work,
                       "SELECT originalName, newName FROM RenameRecord WHERE number > ? AND number <= ?",
                       counted.upTo, last));
        counted.upTo = last;
    }
    return counted;
}

} // namespace vesto::NameSearch
