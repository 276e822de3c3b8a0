#pragma once
#include "core/support/UniqueFd.h"

#include <expected>
#include <filesystem>
#include <functional>
#include <string_view>

namespace vesto {

/// What the system tells of one folder. An instance of its own: the kernel gives one watch per folder and
/// instance, so who shared one would be silenced by the first to stop. Holds no descriptor of the folder.
class FolderEvents {
public:
    enum class Kind {
        entries,    // one came, left or got another name
        movedOnto,  // likewise; under this name something else stands now, perhaps
        closed,     // an entry, by somebody who could write to it
        attributes, // of an entry, or without a name those of the folder
        lost,       // there were more events than the system keeps
        ended,      // the folder is gone, moved or unmounted
    };

    /// The error is the system's number: ENOSPC, EMFILE where it grants no more.
    [[nodiscard]] static std::expected<FolderEvents, int> of(const std::filesystem::path& folder);

    [[nodiscard]] int descriptor() const { return m_fd.get(); }

    /// Hands over what has come, in its order, without waiting; not all of a flood at once.
    void take(const std::function<void(Kind, std::string_view name)>& handler) const;

private:
    explicit FolderEvents(UniqueFd fd)
        : m_fd(std::move(fd)) {}

    UniqueFd m_fd;
};

} // namespace vesto
