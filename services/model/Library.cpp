#include "services/model/Library.h"

#include <dlfcn.h>
#include <ggml-backend.h>
#include <llama.h>
#include <whisper.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <string_view>

namespace vesto::model {
namespace {

std::atomic<bool> isMemoryLacking = false;

/// What the engine says could hold words of a document: none of it is kept.
void listen(ggml_log_level, const char* words, void*) {
    const std::string_view said = words;
    for (const std::string_view complaint : {"failed to allocate", "unable to allocate", "std::bad_alloc"})
        if (said.find(complaint) != std::string_view::npos)
            isMemoryLacking = true;
}

/// Where the engine's libraries stand; empty where the system does not say.
std::filesystem::path folderOfEngine() {
    Dl_info info{};
    const auto* known = reinterpret_cast<const void*>(&ggml_backend_load_all_from_path);
    if (::dladdr(known, &info) == 0 || info.dli_fname == nullptr)
        return {};
    std::error_code error;
    const auto file = std::filesystem::canonical(info.dli_fname, error);
    return error ? std::filesystem::path() : file.parent_path();
}

bool hasProcessor() {
    return ggml_backend_dev_by_type(GGML_BACKEND_DEVICE_TYPE_CPU) != nullptr;
}

} // namespace

bool loadEngine() {
    // A crash ends the process at once: no debugger is started on it, nothing is printed.
    ::setenv("GGML_NO_BACKTRACE", "1", 1);
    ::unsetenv("GGML_BACKEND_PATH");
    ggml_log_set(listen, nullptr);
    llama_log_set(listen, nullptr);
    whisper_log_set(listen, nullptr);
    try {
        if (!hasProcessor()) {
            // Never without a path: then it would look in the folder that this process happens to stand in.
            const auto folder = folderOfEngine();
            if (folder.empty())
                return false;
            ggml_backend_load_all_from_path(folder.c_str());
        }
        llama_backend_init();
        return hasProcessor();
    } catch (...) {
        return false;
    }
}

bool lackedMemory() {
    return isMemoryLacking.exchange(false);
}

std::string engineVersion() {
    return std::string("llama.cpp ") + llama_version() + ", whisper.cpp " + whisper_version();
}

} // namespace vesto::model
