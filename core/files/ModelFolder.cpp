#include "core/files/ModelFolder.h"

#include "core/support/Unicode.h"
#include "core/support/UniqueFd.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>

namespace vesto {
namespace {

namespace fs = std::filesystem;
using Code = ModelFileError::Code;

constexpr std::string_view extension = ".gguf";
constexpr std::string_view temporaryPrefix = ".vesto-add-";
constexpr std::size_t chunk = std::size_t{64} << 20; // bytes

std::unexpected<ModelFileError> failure(Code code) {
    return std::unexpected(ModelFileError{code, 0});
}

std::unexpected<ModelFileError> systemFailure(int number) {
    switch (number) {
    case ENOSPC:
    case EDQUOT:
        return failure(Code::noSpace);
    case EFBIG:
        return failure(Code::tooLarge);
    case EEXIST:
        return failure(Code::nameTaken);
    case ENOENT:
        return failure(Code::missing);
    default:
        return std::unexpected(ModelFileError{Code::system, number});
    }
}

bool hasExtension(std::string_view name) {
    return name.size() > extension.size() && unicode::lowercase(name).ends_with(extension);
}

bool isUsableName(std::string_view name) {
    if (!unicode::isValid(name) || name.starts_with('.'))
        return false;
    for (std::size_t offset = 0; offset < name.size();) {
        const unicode::Scalar scalar = unicode::scalarAt(name, offset);
        if (unicode::isControl(scalar.value) || unicode::isNewline(scalar.value))
            return false;
        offset += scalar.size;
    }
    return true;
}

struct OpenModel {
    UniqueFd fd;
    bool isSpeech = false;
};

/// Open for reading, a regular file that begins as a model does.
std::expected<OpenModel, ModelFileError> openedModel(const fs::path& file) {
    UniqueFd fd(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!fd)
        return systemFailure(errno);
    struct stat status{};
    if (::fstat(fd.get(), &status) != 0)
        return systemFailure(errno);
    if (!S_ISREG(status.st_mode))
        return failure(Code::notRegular);
    std::array<char, 4> magic{};
    const ssize_t size = ::pread(fd.get(), magic.data(), magic.size(), 0);
    if (size < 0)
        return systemFailure(errno);
    const std::string_view begin(magic.data(), static_cast<std::size_t>(size));
    const bool isSpeech = begin == "lmgg"; // a number, its lowest byte first
    if (!isSpeech && begin != "GGUF")
        return failure(Code::noModel);
    return OpenModel{std::move(fd), isSpeech};
}

/// Copies at most `bytes` from where both stand; what was copied, 0 at the end, negative with errno.
ssize_t copySome(int source, int target, std::size_t bytes, std::vector<char>& buffer) {
    if (buffer.empty()) {
        const ssize_t copied = ::copy_file_range(source, nullptr, target, nullptr, bytes, 0);
        if (copied >= 0 || (errno != EXDEV && errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP))
            return copied;
        buffer.resize(std::size_t{1} << 20); // between these file systems by hand
    }
    const ssize_t read = ::read(source, buffer.data(), std::min(bytes, buffer.size()));
    for (ssize_t done = 0; done < read;) {
        const ssize_t written = ::write(target, buffer.data() + done, static_cast<std::size_t>(read - done));
        if (written < 0 && errno != EINTR)
            return -1;
        done += std::max<ssize_t>(written, 0);
    }
    return read;
}

} // namespace

std::vector<ModelFolder::Model> ModelFolder::models() const {
    std::vector<Model> found;
    std::error_code error;
    for (fs::directory_iterator entries(m_folder, error); !error && entries != fs::directory_iterator();
         entries.increment(error)) {
        if (!hasExtension(entries->path().filename().native()))
            continue;
        if (auto model = modelAt(*entries))
            found.push_back(*std::move(model));
    }
    std::ranges::sort(found, {}, &Model::name);
    return found;
}

std::optional<ModelFolder::Model> ModelFolder::speech() const {
    std::error_code error;
    const fs::directory_entry entry(m_folder / speechName, error);
    return error ? std::nullopt : modelAt(entry);
}

std::optional<ModelFolder::Model> ModelFolder::modelAt(const fs::directory_entry& entry) const {
    std::error_code ignored;
    std::string name = entry.path().filename().native();
    const bool isLink = entry.is_symlink(ignored);
    const bool isFile = entry.is_regular_file(ignored);
    if (!isUsableName(name) || (!isFile && !isLink))
        return std::nullopt;
    const std::uintmax_t bytes = isFile ? entry.file_size(ignored) : 0;
    return Model{std::move(name), ignored ? 0 : bytes, isLink};
}

std::optional<ModelFolder::Model> ModelFolder::used() const {
    std::vector<Model> all = models();
    std::erase_if(all, [](const Model& model) { return model.bytes == 0; });
    const auto chosen = std::ranges::find(all, m_settings.value(choiceKey).value_or(""), &Model::name);
    if (chosen != all.end())
        return *chosen;
    return all.empty() ? std::nullopt : std::optional(all.front());
}

std::expected<void, ModelFileError> ModelFolder::setEnabled(bool enabled) const {
    const auto set = m_settings.set(enabledKey, enabled ? "true" : "false");
    if (!set)
        return std::unexpected(ModelFileError{Code::system, set.error()});
    return {};
}

std::expected<std::string, ModelFileError> ModelFolder::nameFor(const fs::path& file) const {
    const auto opened = openedModel(file);
    if (!opened)
        return std::unexpected(opened.error());
    std::string name = opened->isSpeech ? std::string(speechName) : file.filename().native();
    if (!isUsableName(name))
        return failure(Code::nameUnusable);
    if (!opened->isSpeech && !hasExtension(name))
        name += extension;
    if (m_disk.status(m_folder / name))
        return failure(Code::nameTaken);
    return name;
}

std::expected<std::string, ModelFileError> ModelFolder::add(const fs::path& file, Way way) const {
    auto name = nameFor(file);
    if (!name)
        return name;
    std::error_code error;
    fs::create_directories(m_folder, error);
    if (error)
        return systemFailure(error.value());
    removeLeftovers();
    const fs::path target = m_folder / *name;
    if (way == Way::link) {
        const fs::path whole = fs::absolute(file, error);
        if (error || ::symlink(whole.c_str(), target.c_str()) != 0)
            return systemFailure(error ? error.value() : errno);
    } else {
        const auto source = openedModel(file);
        if (!source)
            return std::unexpected(source.error());
        if (const auto copied = copyTo(source->fd.get(), target); !copied)
            return std::unexpected(copied.error());
    }
    static_cast<void>(m_disk.syncFolder(m_folder)); // the model stands either way
    return name;
}

std::expected<void, ModelFileError> ModelFolder::copyTo(int source, const fs::path& target) const {
    struct stat status{};
    if (::fstat(source, &status) != 0)
        return systemFailure(errno);
    std::string temporary = (m_folder / temporaryPrefix).native() + "XXXXXX";
    const UniqueFd copy(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!copy)
        return systemFailure(errno);
    static_cast<void>(::flock(copy.get(), LOCK_EX | LOCK_NB)); // alive: see removeLeftovers
    const auto give = [&temporary](std::unexpected<ModelFileError> why) {
        ::unlink(temporary.c_str());
        return why;
    };
    // Without the place for it, that shows now and not after minutes. Not every file system can.
    if (status.st_size > 0 && ::fallocate(copy.get(), 0, 0, status.st_size) != 0 &&
        (errno == ENOSPC || errno == EDQUOT || errno == EFBIG))
        return give(systemFailure(errno));
    std::vector<char> buffer;
    for (off_t left = status.st_size; left > 0;) {
        const ssize_t copied =
            copySome(source, copy.get(), std::min(static_cast<std::size_t>(left), chunk), buffer);
        if (copied < 0 && errno == EINTR)
            continue;
        if (copied < 0)
            return give(systemFailure(errno));
        if (copied == 0)
            return give(failure(Code::changed));
        left -= copied;
    }
    if (::fsync(copy.get()) != 0)
        return give(systemFailure(errno));
    const auto published = publish(temporary, target);
    return published ? published : give(std::unexpected(published.error()));
}

std::expected<void, ModelFileError> ModelFolder::publish(const fs::path& temporary,
                                                         const fs::path& target) const {
    auto moved = m_disk.renameExclusively(temporary, target);
    if (!moved && (moved.error() == EINVAL || moved.error() == ENOSYS)) {
        moved = m_disk.link(temporary, target); // fails where the name is taken, too
        if (moved)
            static_cast<void>(m_disk.unlink(temporary));
    }
    if (!moved)
        return systemFailure(moved.error());
    return {};
}

void ModelFolder::removeLeftovers() const {
    std::error_code error;
    for (fs::directory_iterator entries(m_folder, error); !error && entries != fs::directory_iterator();
         entries.increment(error)) {
        if (!entries->path().filename().native().starts_with(temporaryPrefix))
            continue;
        // Who copies holds it locked, until the end of its process.
        const UniqueFd fd(::open(entries->path().c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
        if (fd && ::flock(fd.get(), LOCK_EX | LOCK_NB) == 0)
            ::unlink(entries->path().c_str());
    }
}

std::optional<ModelFolder::Model> ModelFolder::find(std::string_view name) const {
    std::vector<Model> all = models();
    if (auto model = speech())
        all.push_back(*std::move(model));
    for (Model& model : all)
        if (model.name == name || std::string_view(model.name).substr(0, model.name.rfind('.')) == name)
            return std::move(model);
    return std::nullopt;
}

std::expected<void, ModelFileError> ModelFolder::remove(std::string_view name) const {
    const auto model = find(name);
    if (!model)
        return failure(Code::notInFolder);
    if (const auto removed = m_disk.unlink(pathOf(*model)); !removed)
        return systemFailure(removed.error());
    static_cast<void>(m_disk.syncFolder(m_folder));
    if (m_settings.value(choiceKey) == model->name)
        static_cast<void>(m_settings.set(choiceKey, std::nullopt)); // a choice without its file is none
    return {};
}

std::expected<void, ModelFileError> ModelFolder::use(std::string_view name) const {
    const auto model = find(name);
    if (!model || model->name == speechName)
        return failure(Code::notInFolder);
    if (const auto set = m_settings.set(choiceKey, model->name); !set)
        return std::unexpected(ModelFileError{Code::system, set.error()});
    return {};
}

} // namespace vesto
