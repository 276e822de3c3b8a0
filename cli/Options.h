#pragma once
#include "core/naming/NameTemplate.h"
#include "core/support/Locale.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vesto::cli {

/// What is to be done about the models.
enum class ModelAction { list, add, remove, use, enable, disable, test };

/// What the words of the command line ask for; each verb reads its own part.
struct Options {
    std::vector<std::filesystem::path> paths;
    std::vector<std::string> names; // of `generic`, of a model
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
