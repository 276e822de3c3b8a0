#include "core/extraction/readers/pictures/ClassifierFolder.h"

#include <unistd.h>

#include <cstdlib>

namespace vesto::readers {

std::filesystem::path classifierFolder() {
    const char* data = std::getenv("XDG_DATA_HOME");
    if (data != nullptr && data[0] == '/')
        return std::filesystem::path(data) / "vesto/models";
    const char* home = std::getenv("HOME");
    if (home != nullptr && home[0] == '/')
        return std::filesystem::path(home) / ".local/share/vesto/models";
    return {};
}

bool hasClassifier() {
    return ::access((classifierFolder() / "labels.onnx").c_str(), R_OK) == 0;
}

} // namespace vesto::readers
