#pragma once
#include "app/model/Store.h"
#include "core/files/ProcessedMarker.h"
#include "tests/core/files/TestFolder.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace vesto {

/// Says what is not true of a home at rest: of its files, its history and its marks. Files are known by their
/// contents, each of which is there once and has the name under which it came.
class Truth {
public:
    /// `names`: what each content was called in the beginning; more than one where it has several names.
    explicit Truth(std::multimap<std::string, std::string> names)
        : m_names(std::move(names)) {}

    [[nodiscard]] std::vector<std::string> faults(const std::filesystem::path& files, const Store& store,
                                                  Disk& disk) const {
        std::vector<std::string> faults;
        const Folder folder = look(files, faults);
        auto rows = store.history("", 10'000);
        if (!rows)
            return {"the history: " + rows.error().description};
        std::erase_if(*rows, [&](const RenameRecord& row) { return row.folderPath != files; });
        std::set<std::string> told; // contents that rows speak of
        for (const RenameRecord& row : *rows)
            check(row, folder, faults, told);
        for (const auto& [content, names] : folder.names) {
            if (!told.contains(content) && names != originalNames(content))
                faults.push_back(fmt::format("«{}» stands as «{}», and no row says so", content,
                                             fmt::join(names, "», «")));
            checkMark(content, *names.begin(), *rows, files, store, disk, faults);
        }
        checkProposals(files, store, faults);
        return faults;
    }

private:
    struct Folder {
        std::map<std::string, std::set<std::string>> names; // by content
    };

    [[nodiscard]] std::set<std::string> originalNames(const std::string& content) const {
        std::set<std::string> names;
        const auto [first, last] = m_names.equal_range(content);
        for (auto name = first; name != last; ++name)
            names.insert(name->second);
        return names;
    }

    [[nodiscard]] Folder look(const std::filesystem::path& files, std::vector<std::string>& faults) const {
        Folder folder;
        std::map<std::string, std::set<ino_t>> inodes; // by content
        for (const std::string& name : namesIn(files)) {
            const std::string content = contentOf(files / name);
            struct stat status{};
            ::stat((files / name).c_str(), &status);
            inodes[content].insert(status.st_ino);
            folder.names[content].insert(name);
            if (name.starts_with('.'))
                faults.push_back(fmt::format("a hidden name «{}» of «{}» was left", name, content));
            if (!m_names.contains(content))
                faults.push_back(fmt::format("«{}» says «{}», which nobody wrote", name, content));
        }
        for (auto name = m_names.begin(); name != m_names.end(); name = m_names.upper_bound(name->first)) {
            const auto& [content, original] = *name;
            if (!folder.names.contains(content))
                faults.push_back(fmt::format("«{}» is lost", content));
            else if (inodes[content].size() != 1 && !systemDisk().inventsInodes(files))
                faults.push_back(fmt::format("«{}» is there {} times", content, inodes[content].size()));
            else if (folder.names[content].size() != m_names.count(content))
                faults.push_back(fmt::format("«{}» has the names «{}»", content,
                                             fmt::join(folder.names[content], "», «")));
        }
        return folder;
    }

    void check(const RenameRecord& row, const Folder& folder, std::vector<std::string>& faults,
               std::set<std::string>& told) const {
        using Status = RenameRecord::Status;
        const auto stands = [&](const std::string& name) {
            for (const auto& [content, names] : folder.names)
                if (names.contains(name) && originalNames(content).contains(row.originalName))
                    return true;
            return false;
        };
        const std::string what = fmt::format("the row «{}» to «{}»", row.originalName, row.newName);
        if (row.undoing)
            faults.push_back(what + " is still to be undone");
        switch (row.status) {
        case Status::pending:
            faults.push_back(what + " is still pending");
            break;
        case Status::done:
            if (!stands(row.newName))
                faults.push_back(what + " says done");
            for (const auto& [content, original] : m_names)
                if (original == row.originalName && !told.insert(content).second)
                    faults.push_back(what + " is one too many");
            break;
        case Status::undone:
        case Status::failed:
            if (!stands(row.originalName))
                faults.push_back(what + " says that the old name is back");
            break;
        }
    }

    /// A renamed or restored file says so, or the store says it for the file.
    void checkMark(const std::string& content, const std::string& name, const std::vector<RenameRecord>& rows,
                   const std::filesystem::path& files, const Store& store, Disk& disk,
                   std::vector<std::string>& faults) const {
        using ProcessedMarker::State;
        // What could not be written on the file counts more than what it says from before.
        const auto identity = FileIdentity::of(files / name, disk);
        auto marker = identity ? store.remembered(*identity).value_or(std::nullopt) : std::nullopt;
        if (!marker)
            marker = ProcessedMarker::read(files / name, disk);
        for (const RenameRecord& row : rows) {
            if (!originalNames(content).contains(row.originalName))
                continue;
            const auto expected = row.status == RenameRecord::Status::done     ? std::optional(State::renamed)
                                  : row.status == RenameRecord::Status::undone ? std::optional(State::undone)
                                                                               : std::nullopt;
            const auto found = marker ? std::optional(marker->state) : std::nullopt;
            if (found != expected)
                faults.push_back(fmt::format("«{}» is marked «{}»", name,
                                             found ? ProcessedMarker::rawValue(*found) : "nothing"));
            else if (marker && marker->originalName != row.originalName)
                faults.push_back(fmt::format("«{}» is marked with another old name", name));
        }
    }

    static void checkProposals(const std::filesystem::path& files, const Store& store,
                               std::vector<std::string>& faults) {
        const auto pending = store.pending();
        if (!pending)
            faults.push_back("the proposals: " + pending.error().description);
        for (const PendingProposal& proposal : pending.value_or(std::vector<PendingProposal>()))
            if (proposal.proposal.url.parent_path() == files &&
                !std::filesystem::exists(proposal.proposal.url))
                faults.push_back("a proposal for a file that is not there");
    }

    std::multimap<std::string, std::string> m_names;
};

} // namespace vesto
