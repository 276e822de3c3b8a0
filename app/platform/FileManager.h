#pragma once
#include "app/model/Mailbox.h"
#include "app/model/Worker.h"
#include "core/support/UniqueFd.h"

#include <QDBusConnection>
#include <QObject>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace vesto {

/// The desktop's own file manager, asked over the session bus. Main thread; nothing waits.
class FileManager : public QObject {
public:
    explicit FileManager(std::optional<QDBusConnection> bus);
    ~FileManager() override;

    enum class Failure {
        missing, // there is no such file
        silence, // nobody shows it
    };
    using Failed = std::function<void(Failure)>;

    /// Shows the file, chosen in its folder; where no file manager can, its folder. `failed` is called,
    /// later, where neither can be shown.
    void reveal(const std::filesystem::path& file, Failed failed);

private:
    void show(const std::filesystem::path& file, const std::shared_ptr<UniqueFd>& handle,
              const Failed& failed);
    void openFolder(const UniqueFd& file, const Failed& failed);

    std::optional<QDBusConnection> m_bus;
    std::shared_ptr<Mailbox> m_mailbox;
    Worker m_worker; // touches what is shown, which may lie on a share that hangs
};

} // namespace vesto
