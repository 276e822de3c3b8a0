#include "core/extraction/readers/pictures/ImageLabels.h"

#include "core/extraction/readers/FileBytes.h"
#include "core/extraction/readers/pictures/ClassifierFolder.h"
#include "core/extraction/readers/pictures/RasterScaling.h"
#include "core/support/Json.h"
#include "core/support/Unicode.h"
#include "core/support/UniqueFd.h"

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <opencv2/core/utils/logger.hpp>
#include <opencv2/dnn.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vesto::readers {
namespace {

constexpr std::uint64_t maxModelSize = 128ULL << 20; // bytes
constexpr std::uint64_t maxDescriptionSize = 4ULL << 20;
constexpr std::int64_t maxInputSide = 1024; // pixels
constexpr std::size_t maxClasses = 100'000;

/// What labels.json says of the model beside it.
struct Description {
    std::vector<std::string> labels{}; // one a class; an empty one is never given
    PixelSize input{};
    bool isRGB = true;                   // else BGR
    std::array<float, 3> mean{0, 0, 0};  // taken off each channel, in the order of the input
    std::array<float, 3> scale{1, 1, 1}; // which it is then multiplied by
    std::string inputName{};             // empty for the only one
    std::string outputName{};
    bool needsSoftmax = false; // where the model gives scores instead of probabilities
};

/// A file that the user installed, as far as it is not larger than it should be.
class InstalledFile {
public:
    InstalledFile(const std::string& name, std::uint64_t maxBytes)
        : m_fd(::open((classifierFolder() / name).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY))
        , m_bytes(m_fd ? FileBytes::map(m_fd.get(), maxBytes) : std::nullopt) {}

    [[nodiscard]] std::string_view view() const { return m_bytes ? m_bytes->view() : std::string_view(); }

private:
    UniqueFd m_fd;
    std::optional<FileBytes> m_bytes;
};

/// One number for all channels, or three.
bool readChannels(const Json& json, std::string_view key, std::array<float, 3>& channels) {
    const Json* value = member(json, key);
    if (value == nullptr)
        return true;
    if (value->is_number()) {
        channels.fill(value->get<float>());
    } else if (value->is_array() && value->size() == channels.size()) {
        for (std::size_t i = 0; i < channels.size(); ++i) {
            if (!(*value)[i].is_number())
                return false;
            channels[i] = (*value)[i].get<float>();
        }
    } else {
        return false;
    }
    return std::ranges::all_of(channels, [](float number) { return std::isfinite(number); });
}

/// What stands before the first comma: classes often come with all their synonyms.
std::string firstName(const std::string& label) {
    return unicode::repaired(unicode::trimmedWhiteSpace(std::string_view(label).substr(0, label.find(','))));
}

std::optional<Description> parseDescription(std::string_view text) {
    const auto json = parseJson(text);
    if (!json)
        return std::nullopt;
    const Json* labels = member(*json, "labels");
    const auto width = integerMember(*json, "width");
    const auto height = integerMember(*json, "height");
    if (labels == nullptr || !labels->is_array() || labels->empty() || labels->size() > maxClasses ||
        !width || !height || *width < 1 || *height < 1 || *width > maxInputSide || *height > maxInputSide)
        return std::nullopt;
    Description description;
    for (const Json& label : *labels) {
        if (!label.is_string())
            return std::nullopt;
        description.labels.push_back(firstName(label.get<std::string>()));
    }
    description.input = {static_cast<std::uint32_t>(*width), static_cast<std::uint32_t>(*height)};
    const std::string channels = stringMember(*json, "channels").value_or("rgb");
    if ((channels != "rgb" && channels != "bgr") || !readChannels(*json, "mean", description.mean) ||
        !readChannels(*json, "scale", description.scale))
        return std::nullopt;
    description.isRGB = channels == "rgb";
    description.inputName = stringMember(*json, "input").value_or("");
    description.outputName = stringMember(*json, "output").value_or("");
    description.needsSoftmax = boolMember(*json, "softmax").value_or(false);
    if (const auto background = integerMember(*json, "background");
        background && *background >= 0 && *background < std::ssize(description.labels))
        description.labels[static_cast<std::size_t>(*background)].clear();
    return description;
}

/// OpenCV prints what it throws as well, and starts a thread for each processor.
void prepareOpenCV() {
    static const bool done = [] {
        cv::setNumThreads(1);
        cv::utils::logging::setLogLevel(cv::utils::logging::LOG_LEVEL_SILENT);
        cv::redirectError([](int, const char*, const char*, const char*, int, void*) { return 0; });
        return true;
    }();
    static_cast<void>(done);
}

/// The middle of the picture in the shape of the input, at its size where the picture is large enough.
Raster middleOf(const Raster& picture, PixelSize input) {
    const double ratio = std::min(static_cast<double>(picture.width) / input.width,
                                  static_cast<double>(picture.height) / input.height);
    const auto side = [&](std::uint32_t length, std::uint32_t limit) {
        return std::clamp(static_cast<std::uint32_t>(std::lround(length * ratio)), 1U, limit);
    };
    const PixelSize cut{side(input.width, picture.width), side(input.height, picture.height)};
    RasterReducer reducer(cut, {std::min(cut.width, input.width), std::min(cut.height, input.height)});
    const std::size_t left = (picture.width - cut.width) / 2;
    const std::size_t top = (picture.height - cut.height) / 2;
    for (std::size_t y = 0; y < cut.height; ++y)
        reducer.add(std::span(picture.rgba)
                        .subspan(((top + y) * picture.width + left) * 4, std::size_t{cut.width} * 4));
    return reducer.take();
}

/// The picture as the model wants it: one plane for each channel.
cv::Mat inputOf(const Raster& picture, const Description& description) {
    const Raster middle = middleOf(picture, description.input);
    const auto width = static_cast<int>(description.input.width);
    const auto height = static_cast<int>(description.input.height);
    const std::array<int, 4> shape{1, 3, height, width};
    cv::Mat blob(4, shape.data(), CV_32F);
    auto* out = blob.ptr<float>();
    for (std::size_t channel = 0; channel < 3; ++channel) {
        const std::size_t color = description.isRGB ? channel : 2 - channel;
        for (std::uint32_t y = 0; y < description.input.height; ++y) {
            for (std::uint32_t x = 0; x < description.input.width; ++x) {
                // A picture smaller than the input is enlarged by repeating its pixels.
                const std::size_t fromX = std::size_t{x} * middle.width / description.input.width;
                const std::size_t fromY = std::size_t{y} * middle.height / description.input.height;
                const float value = middle.rgba[(fromY * middle.width + fromX) * 4 + color];
                *out++ = (value - description.mean[channel]) * description.scale[channel];
            }
        }
    }
    return blob;
}

void applySoftmax(std::vector<float>& scores) {
    const float most = *std::ranges::max_element(scores);
    float sum = 0;
    for (float& score : scores)
        sum += score = std::exp(score - most);
    for (float& score : scores)
        score /= sum;
}

/// A probability for each class; empty where the model is not what its description says.
std::vector<float> classify(const Raster& picture, const Description& description, std::string_view model) {
    prepareOpenCV();
    cv::dnn::Net net = cv::dnn::readNetFromONNX(model.data(), model.size());
    if (net.empty())
        return {};
    net.setPreferableBackend(cv::dnn::DNN_BACKEND_OPENCV);
    net.setPreferableTarget(cv::dnn::DNN_TARGET_CPU);
    net.setInput(inputOf(picture, description), description.inputName);
    const cv::Mat output =
        description.outputName.empty() ? net.forward() : net.forward(description.outputName);
    if (output.type() != CV_32F || !output.isContinuous() || output.total() != description.labels.size())
        return {};
    const auto* first = output.ptr<float>();
    std::vector<float> scores(first, first + output.total());
    if (!std::ranges::all_of(scores, [](float score) { return std::isfinite(score); }))
        return {};
    if (description.needsSoftmax)
        applySoftmax(scores);
    return scores;
}

std::vector<ContentSummary::Label> bestOf(const std::vector<float>& scores, const Description& description,
                                          const ImageSummarizer& settings) {
    std::vector<std::pair<double, std::size_t>>
        classes; // by what they are sorted: the best first, then the first
    for (std::size_t i = 0; i < scores.size(); ++i) {
        const double confidence = std::clamp(static_cast<double>(scores[i]), 0.0, 1.0);
        if (confidence >= settings.minLabelConfidence && !description.labels[i].empty())
            classes.emplace_back(-confidence, i);
    }
    std::ranges::sort(classes);
    classes.resize(std::min(classes.size(), static_cast<std::size_t>(std::max(settings.maxLabels, 0))));
    std::vector<ContentSummary::Label> labels;
    labels.reserve(classes.size());
    for (const auto& [confidence, index] : classes)
        labels.push_back({.identifier = description.labels[index], .confidence = -confidence});
    return labels;
}

std::mutex& classifierMutex() {
    static std::mutex mutex;
    return mutex;
}

} // namespace

std::vector<ContentSummary::Label> labelsOf(const Raster& picture, const ImageSummarizer& settings) {
    if (picture.width == 0 || picture.height == 0)
        return {};
    const std::scoped_lock lock(classifierMutex());
    try {
        const auto description = parseDescription(InstalledFile("labels.json", maxDescriptionSize).view());
        const InstalledFile model("labels.onnx", maxModelSize);
        if (!description || model.view().empty())
            return {};
        const std::vector<float> scores = classify(picture, *description, model.view());
        return scores.empty() ? std::vector<ContentSummary::Label>() : bestOf(scores, *description, settings);
    } catch (const std::exception&) { // a cv::Exception is one
        return {};
    }
}

} // namespace vesto::readers
