#pragma once
#include <llama.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto::model {

using Tokens = std::vector<llama_token>;

/// What stands around the text of a document in a conversation with the model.
struct Frame {
    Tokens before; // instructions and schema
    Tokens after;  // the beginning of the answer
};

/// In the model's own template where the engine knows it, else as ChatML. Nothing where the engine fails.
[[nodiscard]] std::optional<Frame> makeFrame(const llama_model& model, std::string_view instructions);

/// The text of a document. What looks like a special token in it is plain text.
[[nodiscard]] std::optional<Tokens> foreignTokens(const llama_vocab& vocabulary, std::string_view text);

} // namespace vesto::model
