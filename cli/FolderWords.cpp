#include "cli/FolderWords.h"

#include "app/model/FolderCheck.h"
#include "app/model/ModelRecords.h"
#include "app/model/Store.h"
#include "cli/EngineSession.h"
#include "cli/StoreSession.h"
#include "core/support/OwnFile.h"
#include "core/support/Text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <future>
#include <memory>
#include <thread>

namespace vesto::cli {
namespace {

constexpr std::chrono::seconds diskPatience(3);

} // namespace

std::optional<std::uint64_t> systemLimit(std::string_view name) {
    std::string path = "/proc/sys/" + std::string(name);
    std::ranges::replace(path, '.', '/');
    const auto content = readOwnFile(path, 64);
    std::uint64_t value = 0;
    if (!content ||
        std::from_chars(content->data(), content->data() + content->size(), value).ec != std::errc())
        return std::nullopt;
    return value;
}

std::string watchWords(std::string_view mode) {
    if (mode == "events")
        return std::string(text("surveillé en continu"));
    if (mode == "rescanRemote")
        return std::string(text("dossier réseau ou FUSE, revu toutes les 30 secondes"));
    // Which of the two is used up, the system tells only whoever asks for more.
    std::string words(
        text("revu toutes les 30 secondes, car le système n'accorde plus de surveillance ; "
             "augmentez fs.inotify.max_user_watches et fs.inotify.max_user_instances (sysctl)"));
    const auto watches = systemLimit("fs.inotify.max_user_watches");
    const auto instances = systemLimit("fs.inotify.max_user_instances");
    if (watches && instances)
        words += fmt::format("{}{} {} {}", text(", actuellement "), *watches, text("et"), *instances);
    return words;
}

std::optional<std::vector<Json>> watchedFolders(std::ostream& err) {
    std::vector<Json> records;
    EngineSession session(err);
    if (session.beginRemote()) {
        const auto result = session.ask(Json{{"verb", "folders"}}, [&](const Json& event) {
            if (const Json* line = member(event, "line"))
                records.push_back(*line);
            return true;
        });
        return result.done ? std::optional(std::move(records)) : std::nullopt;
    }
    const auto read = withStore(err, [&](const Store& store) -> Store::Result<void> {
        const auto folders = store.folders();
        if (!folders)
            return std::unexpected(folders.error());
        for (const WatchedFolder& folder : *folders)
            records.push_back(recordOf(folder));
        return {};
    });
    return read ? std::optional(std::move(records)) : std::nullopt;
}

std::vector<std::string> notesOfDisk(const std::filesystem::path& folder) {
    // A share may hang for minutes: then its thread is left behind, and ends with the process.
    const auto promise = std::make_shared<std::promise<std::vector<FolderNote>>>();
    auto answer = promise->get_future();
    std::thread([promise, folder] { promise->set_value(checkDiskOf(folder)); }).detach();
    std::vector<std::string> result;
    if (answer.wait_for(diskPatience) != std::future_status::ready)
        return {std::string(text("Ce disque ne répond pas."))};
    for (const FolderNote& note : answer.get())
        result.push_back(note.message);
    return result;
}

} // namespace vesto::cli
