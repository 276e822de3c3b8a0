#pragma once
#include "core/naming/NameTemplate.h"
#include "core/support/Locale.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vesto::cli {

/// What is to be done about the models.
enum class ModelAction { list, add, remove, use, enable, disable, test };

/// What is to be done about watched folders.
enum class FolderAction { list, add, remove, enable, disable, automatic, propose };

/// What the words of the command line ask for; each verb reads its own part.
struct Options {
    std::vector<std::filesystem::path> paths;
    std::vector<std::string> words; // the same as they were typed: some may be identifiers
    std::vector<std::string> names; // of `generic`, of a model, of a setting
    FolderAction folderAction = FolderAction::list;
    std::optional<std::string> title; // of a proposal that is accepted
    std::string search;               // in the history
    std::size_t limit = 50;           // rows of it
    bool last = false;                // undo the newest rename
    std::string batchID;              // undo this batch
    bool apply = false;               // rename what a batch proposes
    bool alsoWellNamed = false;       // analyse these as well
    bool alsoNoTitle = false;
    bool setsKey = false; // `settings set`
    ModelAction modelAction = ModelAction::list;
    bool link = false; // a model is not copied
    NameTemplate nameTemplate = NameTemplate::defaultTemplate();
    Locale locale = Locale::user();
    bool genericOnly = false;
    bool again = false; // marked files too
    bool json = false;
    bool prompt = false;
    bool verbose = false; // says what takes its time
    std::optional<double> minConfidence;
};

} // namespace vesto::cli
