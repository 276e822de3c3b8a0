#pragma once
#include "core/files/ModelFolder.h"
#include "core/naming/LanguageModel.h"
#include "services/client/ModelObstacle.h"
#include "services/client/RemoteLanguageModel.h"
#include "services/client/RemoteTranscriber.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// Why a model cannot be used and what to do, in French; empty where nothing is in the way.
[[nodiscard]] std::string_view wordsOf(ModelObstacle obstacle);

/// The language model in one file, through its host.
struct LocalModel {
    /// What is told of it to people.
    struct Facts {
        std::string name{};                        // as its file says; may be empty
        std::string architecture{};                // as the engine calls it; may be empty
        std::uint64_t parameters = 0;              // 0: not known
        std::uint64_t bytes = 0;                   // of the file; 0: not known
        std::vector<std::string> languages{};      // as its file lists them
        std::chrono::duration<double> perTitle{0}; // as it was measured, by earlier runs too; 0 where not
        std::uint32_t lastTokens = 0;              // written for the last title
        std::string_view obstacle{};               // why it cannot be used, in French; empty: nothing to add
    };

    std::shared_ptr<LanguageModel> model; // null: there is none
    /// Waits until nothing is being loaded or got ready, at most for this time.
    std::function<void(std::chrono::milliseconds)> settle;
    std::function<Facts()> facts;
    bool getsReady =
        true; // when it is told to; false: titles are asked of another program, which sees to that
};

[[nodiscard]] LocalModel::Facts factsOf(const RemoteLanguageModel::Facts& facts);

/// For a trial: in a host of its own, of which nothing is noted.
[[nodiscard]] LocalModel openModel(const std::filesystem::path& file);

/// The model that the user's settings name: by the host of a program that watches, where one does.
[[nodiscard]] LocalModel openUsedModel(const ModelFolder& models);

/// The same for who has files named by the engine that runs, and waits for its model: no host of this
/// program's own.
[[nodiscard]] LocalModel openEnginesModel(const ModelFolder& models);

/// What is said in recordings, by the model of speech in one file: one that is added, replaced or removed
/// counts from the next recording on.
struct LocalSpeech {
    std::filesystem::path file;
    std::shared_ptr<SpeechTranscribing> model;
    std::function<RemoteTranscriber::Facts()> facts;
};

/// By a host of this program's.
[[nodiscard]] std::shared_ptr<RemoteTranscriber> openSpeech(const ModelFolder& models);
[[nodiscard]] LocalSpeech localSpeech(const std::shared_ptr<RemoteTranscriber>& speech);

/// By the host of a program that watches, where one does.
[[nodiscard]] LocalSpeech openSharedSpeech(const ModelFolder& models);

} // namespace vesto
