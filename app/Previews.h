#pragma once
#include "app/model/Mailbox.h"
#include "app/model/Worker.h"
#include "core/extraction/ContentReading.h"
#include "services/client/RemoteReader.h"

#include <QObject>
#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace vesto {

/// Pictures of files for people to see, made by a jailed reader of their own, one after the other; the one
/// that was asked for last comes first. Main thread; nothing waits but the destructor, for two seconds at
/// most.
class Previews : public QObject {
public:
    using Done = std::function<void(const std::optional<Preview>&)>;
    using Jail = std::expected<ipc::Jail, ReaderStartFailure>;

    explicit Previews(RemoteReader::Settings settings = {});
    /// Gives up what is being made; no `done` is called any more.
    ~Previews() override;

    void ask(const std::filesystem::path& file, Done done);

    /// Starts the reader and tells how well it is shut in.
    void tryJail(std::function<void(const Jail&)> done);

private:
    class Maker;
    std::shared_ptr<Mailbox> m_mailbox;
    std::shared_ptr<Maker> m_maker; // which a thread that hangs on a share keeps
    Worker m_worker;
};

} // namespace vesto
