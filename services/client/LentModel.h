#pragma once
#include "core/naming/LanguageModel.h"
#include "core/support/Json.h"
#include "services/client/RemoteLanguageModel.h"

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

/// What a program asks, over the control socket, of the language model that another program of this user has
/// loaded, and what it is told. A document's text goes no further than between these two.
namespace vesto::lent {

inline constexpr std::string_view stateVerb = "model";
inline constexpr std::string_view titleVerb = "title";

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

[[nodiscard]] Json stateOrder(const Wanted& wanted);
[[nodiscard]] Json titleOrder(const std::filesystem::path& file, const ModelRequest& request);
[[nodiscard]] Json recordOf(const State& state);
[[nodiscard]] Json recordOf(const Answer& answer);

// Nothing where it makes no sense.
[[nodiscard]] std::optional<Wanted> wantedIn(const Json& order);
/// At most as many tokens as a title may have.
[[nodiscard]] std::optional<ModelRequest> requestIn(const Json& order);
[[nodiscard]] std::optional<State> stateIn(const Json& record);
[[nodiscard]] std::optional<Answer> answerIn(const Json& record);

} // namespace vesto::lent
