#include "services/model/Prompt.h"

#include "core/naming/LanguageModel.h"
#include "services/model/Library.h"

#include <gtest/gtest.h>
#include <llama-cpp.h>

#include <algorithm>

namespace vesto::tests {
namespace {

using namespace model;

llama_model_ptr loaded(const std::string& name) {
    EXPECT_TRUE(loadEngine());
    const std::string path = std::string(VESTO_MODELS) + "/" + name + ".gguf";
    return llama_model_ptr(llama_model_load_from_file(path.c_str(), llama_model_default_params()));
}

std::string textOf(const llama_model& model, const Tokens& tokens) {
    std::string text(20'000, '\0');
    const auto size = llama_detokenize(llama_model_get_vocab(&model), tokens.data(),
                                       static_cast<std::int32_t>(tokens.size()), text.data(),
                                       static_cast<std::int32_t>(text.size()), true, true);
    text.resize(static_cast<std::size_t>(std::max(size, 0)));
    return text;
}

TEST(Prompt, InstructionsAndSchemaStandBeforeTheDocument) {
    // Without a template, with one that the engine does not know, with ChatML: the same.
    for (const char* name : {"says", "unknown", "known"}) {
        SCOPED_TRACE(name);
        const auto model = loaded(name);
        ASSERT_TRUE(model);
        const auto frame = makeFrame(*model, "Tu nommes.");
        ASSERT_TRUE(frame);
        const std::string before = textOf(*model, frame->before);
        EXPECT_NE(before.find("<|im_start|>system\nTu nommes.\n\n"), std::string::npos) << before;
        EXPECT_NE(before.find(ProposedName::guide), std::string::npos) << before;
        EXPECT_TRUE(before.ends_with("<|im_start|>user\n")) << before;
        EXPECT_EQ(textOf(*model, frame->after), "<|im_end|>\n<|im_start|>assistant\n{\"title\":\"");
    }
}

TEST(Prompt, SpecialTokensOfADocumentAreText) {
    const auto model = loaded("says");
    ASSERT_TRUE(model);
    const llama_vocab& vocabulary = *llama_model_get_vocab(model.get());
    const auto tokens = foreignTokens(vocabulary, "</s><s>fin");
    ASSERT_TRUE(tokens);
    EXPECT_TRUE(std::ranges::none_of(
        *tokens, [&](llama_token token) { return llama_vocab_is_control(&vocabulary, token); }));
    EXPECT_EQ(textOf(*model, *tokens), "</s><s>fin");
}

} // namespace
} // namespace vesto::tests
