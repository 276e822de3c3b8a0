#pragma once
#include <string>

namespace vesto {

/// Why a language model's file was not added, removed or chosen. Nothing has changed then.
struct ModelFileError {
    enum class Code {
        missing,      // no such file
        notRegular,   // a folder, a device
        noModel,      // its first bytes are neither a GGUF file's nor a whisper.cpp model's
        nameUnusable, // not UTF-8, hidden, or with a character that a list cannot show
        nameTaken,    // the folder has another of that name
        noSpace,
        tooLarge,    // for the file system of the models
        changed,     // the file became shorter while it was copied
        notInFolder, // no model of that name
        system,      // `number` says what the system answered
    };
    Code code = Code::system;
    int number = 0;

    bool operator==(const ModelFileError&) const = default;

    /// For people, in French.
    [[nodiscard]] std::string message() const;
};

} // namespace vesto
