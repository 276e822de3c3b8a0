#pragma once
#include <expected>
#include <filesystem>

/// The store's file as a file: made, kept private, copied when it is damaged. Errors are the system's
/// numbers.
namespace vesto::StoreFile {

enum class Presence {
    missing,
    present,
    incomplete, // what goes with the file is there (a journal with changes), the file itself is gone
};

[[nodiscard]] std::expected<Presence, int> look(const std::filesystem::path& file);

/// An empty file, its user's only, beside `file`, to become it later. Folders that are missing are made, for
/// their user only.
[[nodiscard]] std::expected<std::filesystem::path, int> makeBeside(const std::filesystem::path& file);

/// Gives `made`, of `makeBeside`, its place once it is whole on the disk. Where there is a file by now, that
/// one stays. `made` is gone in the end.
[[nodiscard]] std::expected<void, int> putInPlace(const std::filesystem::path& made,
                                                  const std::filesystem::path& file);

/// Removes what `makeBeside` made, where it cannot be used.
void discard(const std::filesystem::path& made);

/// Takes the file, and what goes with it, from everybody else's eyes, where it is ours to do so.
void makePrivate(const std::filesystem::path& file);

/// A copy of the file and of its journals beside it, under a name that was free; or an earlier copy that says
/// the same. Not while this process has the file open: closing it here would let go of its locks.
[[nodiscard]] std::expected<std::filesystem::path, int> copyAside(const std::filesystem::path& file);

} // namespace vesto::StoreFile
