#include "core/extraction/readers/pictures/ImageLabels.h"

#include "core/extraction/readers/pictures/ClassifierFolder.h"
#include "tests/readers/support/Pictures.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace vesto::readers {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// What a model file is made of: fields of a number, a kind and a value, nested.
std::string varint(std::uint64_t value) {
    std::string bytes;
    for (; value >= 0x80; value >>= 7)
        bytes += static_cast<char>(value | 0x80);
    return bytes + static_cast<char>(value);
}
std::string number(unsigned field, std::uint64_t value) {
    return varint(field << 3) + varint(value);
}
std::string bytes(unsigned field, const std::string& value) {
    return varint(field << 3 | 2) + varint(value.size()) + value;
}

std::string node(const std::vector<std::string>& inputs, const std::string& output,
                 const std::string& operation, const std::string& attributes = {}) {
    std::string result;
    for (const std::string& input : inputs)
        result += bytes(1, input);
    return bytes(1, result + bytes(2, output) + bytes(4, operation) + attributes);
}

/// Of a value that goes in or comes out: floats of this shape.
std::string value(unsigned field, const std::string& name, const std::vector<std::uint64_t>& shape) {
    std::string dimensions;
    for (const std::uint64_t side : shape)
        dimensions += bytes(1, number(1, side));
    return bytes(field, bytes(1, name) + bytes(2, bytes(1, number(1, 1) + bytes(2, dimensions))));
}

/// A model whose classes are the mean of each of the input's three channels; four by four pixels go in.
std::string meanModel() {
    const std::string graph = node({"picture"}, "pooled", "GlobalAveragePool") +
                              node({"pooled"}, "flat", "Flatten") + bytes(2, "means") +
                              value(11, "picture", {1, 3, 4, 4}) + value(12, "flat", {1, 3});
    return number(1, 6) + bytes(7, graph) + bytes(8, number(2, 9));
}

constexpr const char* description = R"({"labels": ["red, reddish", "green", "blue"], "width": 4, "height": 4,
    "channels": "rgb", "scale": 0.00392156862745098})";

class ImageLabels : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = testing::TempDir() + "vesto-models-XXXXXX";
        m_folder = ::mkdtemp(pattern.data());
        std::filesystem::create_directories(m_folder / "vesto/models");
        ::setenv("XDG_DATA_HOME", m_folder.c_str(), 1);
    }
    void TearDown() override {
        ::unsetenv("XDG_DATA_HOME");
        std::filesystem::remove_all(m_folder);
    }
    void install(const std::string& model, const std::string& json) {
        std::ofstream(m_folder / "vesto/models/labels.onnx", std::ios::binary) << model;
        std::ofstream(m_folder / "vesto/models/labels.json", std::ios::binary) << json;
    }
    std::filesystem::path m_folder;
};

/// "red 0.90|green 0.50"
std::vector<std::string> labels(const ImageSummarizer& settings = {}) {
    Raster picture{.width = 9, .height = 5};
    for (int i = 0; i < 45; ++i)
        picture.rgba.insert(picture.rgba.end(), {230, 128, 51, 255});
    std::vector<std::string> result;
    for (const auto& label : labelsOf(picture, settings))
        result.push_back(fmt::format("{} {:.2f}", label.identifier, label.confidence));
    return result;
}

TEST_F(ImageLabels, AsTheModelSays) {
    EXPECT_FALSE(hasClassifier());
    EXPECT_THAT(labels(), IsEmpty());
    install(meanModel(), description);
    EXPECT_TRUE(hasClassifier());
    EXPECT_THAT(labels(), ElementsAre("red 0.90", "green 0.50"));
    EXPECT_THAT(labels({.recognitionLanguages = {}, .maxLabels = 1}), ElementsAre("red 0.90"));
    EXPECT_THAT(labels({.recognitionLanguages = {}, .minLabelConfidence = 0.1}),
                ElementsAre("red 0.90", "green 0.50", "blue 0.20"));
}

TEST_F(ImageLabels, AsTheDescriptionSays) {
    const std::string start = R"({"labels": ["a", "b", "c"], "width": 4, "height": 4, )";
    const std::vector<std::pair<std::string, std::vector<std::string>>> rows{
        {R"("channels": "bgr", "scale": 0.0039215})", {"c 0.90", "b 0.50"}},
        {R"("scale": 0.0039215, "background": 0})", {"b 0.50"}},
        {R"("scale": [0.0039215, 0, 0.0039215], "mean": [0, 0, -102]})", {"a 0.90", "c 0.60"}},
        {R"("scale": 0.01, "softmax": true})", {"a 0.65"}},
        {R"("scale": 0.0039215, "input": "picture", "output": "flat"})", {"a 0.90", "b 0.50"}},
    };
    for (const auto& [rest, expected] : rows) {
        install(meanModel(), start + rest);
        EXPECT_EQ(labels(), expected) << rest;
    }
}

TEST_F(ImageLabels, BrokenOnesGiveNone) {
    const std::string model = meanModel();
    const std::vector<std::pair<std::string, std::string>> rows{
        {model, ""},
        {model, "{}"},
        {model, R"({"labels": ["a", "b"], "width": 4, "height": 4})"},
        {model, R"({"labels": ["a", "b", "c"], "width": 0, "height": 4})"},
        {model, R"({"labels": ["a", "b", "c"], "width": 4, "height": 999999999})"},
        {model, R"({"labels": [1, 2, 3], "width": 4, "height": 4})"},
        {model, R"({"labels": ["a", "b", "c"], "width": 4, "height": 4, "mean": "x"})"},
        {model, R"({"labels": ["a", "b", "c"], "width": 4, "height": 4, "output": "nowhere"})"},
        {model, R"({"labels": ["a", "b", "c"], "width": 4, "height": 4, "scale": 1e38})"},
        {"", description},
        {"Bonjour", description},
        {model.substr(0, model.size() / 2), description},
    };
    for (std::size_t i = 0; i < rows.size(); ++i) {
        install(rows[i].first, rows[i].second);
        EXPECT_THAT(labels(), IsEmpty()) << i;
    }
}

} // namespace
} // namespace vesto::readers
