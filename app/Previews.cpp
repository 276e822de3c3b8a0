#include "app/Previews.h"

#include "core/extraction/Summarizer.h"

#include <chrono>
#include <mutex>
#include <stop_token>
#include <utility>
#include <vector>

namespace vesto {

/// What runs on the worker's thread. Thread-safe.
class Previews::Maker {
public:
    Maker(std::shared_ptr<Mailbox> mailbox, RemoteReader::Settings settings)
        : m_mailbox(std::move(mailbox))
        , m_reader(std::make_shared<RemoteReader>(std::move(settings))) {}

    void want(const std::filesystem::path& file, Done done) {
        const std::scoped_lock lock(m_mutex);
        m_wanted.push_back({file, std::move(done)});
    }

    void makeNext() {
        std::optional<Wanted> wanted = next();
        if (!wanted)
            return;
        auto preview = m_summarizer.preview(wanted->file, m_stop.get_token());
        m_mailbox->post([done = std::move(wanted->done), preview = std::move(preview)] {
            done(preview ? std::optional(*preview) : std::nullopt);
        });
    }

    void tryJail(std::function<void(const Jail&)> done) {
        m_mailbox->post([jail = m_reader->start(), done = std::move(done)] { done(jail); });
    }

    void stop() {
        const std::scoped_lock lock(m_mutex);
        m_wanted.clear();
        m_stop.request_stop();
    }

private:
    struct Wanted {
        std::filesystem::path file;
        Done done;
    };

    std::optional<Wanted> next() {
        const std::scoped_lock lock(m_mutex);
        if (m_wanted.empty())
            return std::nullopt;
        Wanted wanted = std::move(m_wanted.back());
        m_wanted.pop_back();
        return wanted;
    }

    const std::shared_ptr<Mailbox> m_mailbox;
    const std::shared_ptr<RemoteReader> m_reader;
    const Summarizer m_summarizer{{}, m_reader};
    std::stop_source m_stop;
    std::mutex m_mutex; // for m_wanted
    std::vector<Wanted> m_wanted;
};

Previews::Previews(RemoteReader::Settings settings)
    : m_mailbox(std::make_shared<Mailbox>(*this))
    , m_maker(std::make_shared<Maker>(m_mailbox, std::move(settings))) {}

Previews::~Previews() {
    m_mailbox->close();
    m_maker->stop();
    static_cast<void>(m_worker.end(std::chrono::seconds(2)));
}

void Previews::ask(const std::filesystem::path& file, Done done) {
    m_maker->want(file, std::move(done));
    m_worker.post([maker = m_maker] { maker->makeNext(); });
}

void Previews::tryJail(std::function<void(const Jail&)> done) {
    m_worker.post([maker = m_maker, done = std::move(done)]() mutable { maker->tryJail(std::move(done)); });
}

} // namespace vesto
