#pragma once
#include "services/model/Prompt.h"

#include <llama-cpp.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace vesto::model {

/// Writes the string behind `{"title":"`, token by token: always the likeliest one that the string allows.
class TitleWriter {
public:
    explicit TitleWriter(const llama_vocab& vocabulary);

    /// The next token by the model's judgement of the whole vocabulary; nothing where none is allowed.
    [[nodiscard]] std::optional<llama_token> choose(std::span<const float> judgement);

    [[nodiscard]] bool isClosed() const { return m_end != std::string::npos; }
    /// What the string says, when it is closed; nothing where it is not one.
    [[nodiscard]] std::optional<std::string> title() const;
    /// How often the likeliest token was not allowed.
    [[nodiscard]] std::uint32_t refusals() const { return m_refusals; }

private:
    [[nodiscard]] bool isAllowed(llama_token token, float logit);
    [[nodiscard]] std::optional<llama_token> bestAllowed(std::span<const float> judgement);
    void take(llama_token token);

    const llama_vocab& m_vocabulary;
    llama_sampler_ptr m_grammar;
    std::string m_written;
    std::size_t m_looked = 0;              // bytes of m_written that the end was looked for in
    std::size_t m_end = std::string::npos; // of the closing quote
    std::uint32_t m_refusals = 0;
};

} // namespace vesto::model
