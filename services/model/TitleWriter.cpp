#include "services/model/TitleWriter.h"

#include "core/support/Json.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>

namespace vesto::model {
namespace {

constexpr float refused = -std::numeric_limits<float>::infinity();

// The rest of a JSON string, its quote, and what may follow it in an object of one member.
constexpr const char* grammar = R"(root ::= character* "\"" blank* "}"? blank*
character ::= [^"\\\x00-\x1F\x7F] | "\\" (["\\/bfnrt] | "u" hex hex hex hex)
hex ::= [0-9a-fA-F]
blank ::= [ \n\r\t]
)";

std::string pieceOf(const llama_vocab& vocabulary, llama_token token) {
    std::string piece(64, '\0');
    std::int32_t size = llama_token_to_piece(&vocabulary, token, piece.data(),
                                             static_cast<std::int32_t>(piece.size()), 0, false);
    if (size < 0) {
        piece.resize(static_cast<std::size_t>(-size));
        size = llama_token_to_piece(&vocabulary, token, piece.data(), -size, 0, false);
    }
    piece.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return piece;
}

/// The likeliest; a judgement that is no number counts as the least.
std::size_t best(std::span<const float> judgement) {
    std::size_t result = 0;
    float highest = refused;
    for (std::size_t i = 0; i < judgement.size(); ++i) {
        if (judgement[i] > highest) {
            highest = judgement[i];
            result = i;
        }
    }
    return result;
}

} // namespace

TitleWriter::TitleWriter(const llama_vocab& vocabulary)
    : m_vocabulary(vocabulary)
    , m_grammar(llama_sampler_init_grammar(&vocabulary, grammar, "root")) {}

bool TitleWriter::isAllowed(llama_token token, float logit) {
    if (llama_vocab_is_control(&m_vocabulary, token) || llama_vocab_is_eog(&m_vocabulary, token))
        return false;
    llama_token_data candidate{token, logit, 0};
    llama_token_data_array one{&candidate, 1, -1, false};
    llama_sampler_apply(m_grammar.get(), &one);
    return candidate.logit > refused;
}

std::optional<llama_token> TitleWriter::bestAllowed(std::span<const float> judgement) {
    std::vector<llama_token_data> candidates;
    candidates.reserve(judgement.size());
    for (std::size_t i = 0; i < judgement.size(); ++i) {
        const auto token = static_cast<llama_token>(i);
        if (std::isfinite(judgement[i]) && !llama_vocab_is_control(&m_vocabulary, token) &&
            !llama_vocab_is_eog(&m_vocabulary, token))
            candidates.push_back({token, judgement[i], 0});
    }
    llama_token_data_array all{candidates.data(), candidates.size(), -1, false};
    llama_sampler_apply(m_grammar.get(), &all);
    const llama_token_data* result = nullptr;
    for (const llama_token_data& candidate : candidates)
        if (candidate.logit > (result != nullptr ? result->logit : refused))
            result = &candidate;
    return result != nullptr ? std::optional(result->id) : std::nullopt;
}

void TitleWriter::take(llama_token token) {
    llama_sampler_accept(m_grammar.get(), token);
    m_written += pieceOf(m_vocabulary, token);
    while (m_end == std::string::npos && m_looked < m_written.size()) {
        if (m_written[m_looked] == '"')
            m_end = m_looked;
        else if (m_written[m_looked] == '\\' && m_looked + 1 == m_written.size())
            break; // what it stands before comes with the next token
        else
            m_looked += m_written[m_looked] == '\\' ? 2U : 1U;
    }
}

std::optional<llama_token> TitleWriter::choose(std::span<const float> judgement) {
    if (!m_grammar || judgement.empty())
        return std::nullopt;
    const std::size_t likeliest = best(judgement);
    std::optional token = static_cast<llama_token>(likeliest);
    if (!isAllowed(*token, judgement[likeliest])) {
        ++m_refusals;
        token = bestAllowed(judgement);
    }
    if (token)
        take(*token);
    return token;
}

std::optional<std::string> TitleWriter::title() const {
    if (!isClosed())
        return std::nullopt;
    const auto value = parseJson(m_written.substr(0, m_end).insert(0, 1, '"').append(1, '"'));
    if (!value || !value->is_string())
        return std::nullopt;
    return value->get<std::string>();
}

} // namespace vesto::model
