#pragma once
#include "core/naming/LanguageModel.h"
#include "core/support/Json.h"
#include "core/support/Time.h"
#include "services/client/RemoteLanguageModel.h"
#include "services/client/RemoteTranscriber.h"

#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What a program asks, over the control socket, of the models that another program of this user has loaded,
/// and what it is told. A document's text, a recording's sound go no further than between these two.
namespace vesto::lent {

inline constexpr std::string_view stateVerb = "model";
inline constexpr std::string_view titleVerb = "title";
inline constexpr std::string_view speechVerb = "speech"; // with the sound attached

/// Which model the asker means.
struct Wanted {
    std::filesystem::path file;
    std::optional<std::string> instructions{}; // that it is to be ready for

    bool operator==(const Wanted&) const = default;
};

struct State {
    LanguageModel::Availability availability = LanguageModel::Availability::unavailable;
    bool isGettingReady = false;
    RemoteLanguageModel::Facts facts{}; // as far as people are told of them
};

struct Answer {
    std::expected<ProposedName, LanguageModel::Failure> title;
    RemoteLanguageModel::Written written{};
};

/// A recording that the model of speech in this file is to hear; a `SealedSound` goes with it.
struct Recording {
    std::filesystem::path file;
    std::uint64_t samples = 0;
    std::vector<std::string> locales{}; // to be tried, as "fr_FR"
    Seconds timeout{0};
};

struct Heard {
    std::vector<std::string> lines{}; // empty: nothing was understood
    RemoteTranscriber::Facts facts{};
};

[[nodiscard]] Json stateOrder(const Wanted& wanted);
[[nodiscard]] Json titleOrder(const std::filesystem::path& file, const ModelRequest& request);
[[nodiscard]] Json speechOrder(const Recording& recording);
[[nodiscard]] Json recordOf(const State& state);
[[nodiscard]] Json recordOf(const Answer& answer);
[[nodiscard]] Json recordOf(const Heard& heard);

// Nothing where it makes no sense.
[[nodiscard]] std::optional<Wanted> wantedIn(const Json& order);
/// At most as many tokens as a title may have.
[[nodiscard]] std::optional<ModelRequest> requestIn(const Json& order);
[[nodiscard]] std::optional<Recording> recordingIn(const Json& order);
[[nodiscard]] std::optional<State> stateIn(const Json& record);
[[nodiscard]] std::optional<Answer> answerIn(const Json& record);
/// At most as many lines as are heard.
[[nodiscard]] std::optional<Heard> heardIn(const Json& record);

} // namespace vesto::lent
