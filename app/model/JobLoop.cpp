#include "app/model/JobLoop.h"

#include "core/files/FileName.h"
#include "core/support/Log.h"

#include <QTimer>
#include <algorithm>
#include <utility>

namespace vesto {

using FileEligibility::Rejection;
using ProcessedMarker::State;

void JobLoop::enqueue(Job job) {
    if (m_isFinishing)
        return;
    const auto* watched = std::get_if<Watched>(&job);
    if (watched != nullptr && !m_queuedPaths.insert(watched->path.native()).second)
        return;
    m_queue.push_back({std::move(job)});
    next();
}

void JobLoop::next() {
    if (std::exchange(m_isStarting, true))
        return; // a job that ended at once: the loop below goes on
    while (!m_current && !m_queue.empty()) {
        Entry entry = std::move(m_queue.front());
        m_queue.pop_front();
        m_current = Current{.serial = ++m_lastSerial, .job = std::move(entry.job), .look = entry.look};
        begin();
    }
    m_isStarting = false;
    if (!m_current)
        Q_EMIT m_context.face().idle();
}

void JobLoop::begin() {
    if (const auto* watched = std::get_if<Watched>(&m_current->job)) {
        m_queuedPaths.erase(watched->path.native());
        beginWatched(*watched);
    } else if (const auto* existing = std::get_if<Existing>(&m_current->job)) {
        beginExisting(*existing);
    } else if (const auto* asked = std::get_if<Asked>(&m_current->job)) {
        examine({.genericOnly = asked->order.genericOnly,
                 .notBefore = {},
                 .includeProcessed = asked->order.again},
                false, &JobLoop::askedExamined);
    }
}

void JobLoop::end() {
    if (m_current->taken)
        m_context.ledger().release(*m_current->taken);
    m_current.reset();
    setProcessingName(std::nullopt);
    next();
}

void JobLoop::finish() {
    m_isFinishing = true;
    m_queue.clear();
    m_queuedPaths.clear();
    if (!m_current)
        return;
    if (m_current->isWaiting)
        m_current->stop.request_stop();
    else
        QTimer::singleShot(m_context.given().finishPatience, &m_context.face(),
                           [this, serial = m_current->serial] {
                               if (m_current && m_current->serial == serial)
                                   m_current->stop.request_stop();
                           });
}

void JobLoop::cancel() {
    finish();
    if (m_current)
        m_current->stop.request_stop();
}

const std::filesystem::path& JobLoop::path() const {
    if (const auto* asked = std::get_if<Asked>(&m_current->job))
        return asked->order.path;
    if (const auto* existing = std::get_if<Existing>(&m_current->job))
        return existing->path;
    return std::get<Watched>(m_current->job).path;
}

std::string_view JobLoop::name() const {
    return lastComponentOf(path());
}

void JobLoop::setProcessingName(std::optional<std::string> name) {
    if (m_processingName == name)
        return;
    m_processingName = std::move(name);
    Q_EMIT m_context.face().processingNameChanged();
}

void JobLoop::forgetUnreadable(std::string_view folderID) {
    if (std::erase_if(m_unreadable, [&](const UnreadableFile& file) { return file.folderID == folderID; }) >
        0)
        Q_EMIT m_context.face().unreadableChanged();
}

void JobLoop::reviewUnreadable() {
    if (m_unreadable.empty())
        return;
    m_context.onFiles(
        [files = m_unreadable, &disk = m_context.given().disk]() mutable {
            std::erase_if(files,
                          [&](const UnreadableFile& file) { return disk.status(file.path).has_value(); });
            return std::move(files);
        },
        [this](const std::vector<UnreadableFile>& gone) {
            if (std::erase_if(m_unreadable, [&](const UnreadableFile& file) {
                    return std::ranges::find(gone, file) != gone.end();
                }) > 0)
                Q_EMIT m_context.face().unreadableChanged();
        });
}

// ---- Steps that all jobs take ----

void JobLoop::examine(const FileEligibility::Options& options, bool skippedToo,
                      void (JobLoop::*back)(const FileTasks::Examination&)) {
    m_context.onNamingBriefly(
        [path = path(), options, skippedToo, &disk = m_context.given().disk] {
            return FileTasks::examine(path, options, skippedToo, disk);
        },
        [this, back, serial = m_current->serial](const FileTasks::Examination& examination) {
            if (m_current && m_current->serial == serial)
                (this->*back)(examination);
        });
}

void JobLoop::runPipeline(NamingPipeline pipeline, void (JobLoop::*back)(const Outcome&)) {
    m_context.face().refreshModelStatus(); // as the pipeline has just found it
    m_context.onNaming([path = path(), pipeline = std::move(pipeline),
                        stop = m_current->stop.get_token()] { return pipeline.run(path, stop); },
                       [this, back, serial = m_current->serial](const Outcome& outcome) {
                           if (!m_current || m_current->serial != serial)
                               return;
                           if (m_current->stop.stop_requested())
                               end(); // what was cut short says nothing of the file
                           else
                               (this->*back)(outcome);
                       });
}

void JobLoop::markSkipped() {
    const auto& given = m_context.given();
    m_context.onFiles(
        [path = path(), expected = *m_current->settled, &disk = given.disk,
         &clock = given.clock]() -> FileTasks::Marked {
            const auto current = FileIdentity::of(path, disk);
            if (!current || !stoodStill(expected, *current))
                return {}; // another content, of which nothing was said
            return FileTasks::mark(path, expected, State::skipped, disk, clock);
        },
        [this, serial = m_current->serial](const FileTasks::Marked& marked) {
            if (!m_current || m_current->serial != serial)
                return;
            if (marked.identity)
                m_context.ledger().noteMark(*marked.identity,
                                            {.state = State::skipped,
                                             .originalName = std::string(name()),
                                             .date = m_context.given().clock.now()},
                                            marked.marked);
            else if (std::holds_alternative<Watched>(m_current->job))
                fruitless(FolderWatcher::Fruitless::changed, m_current->settled->state);
            end();
        });
}

// ---- A file of a batch ----

void JobLoop::beginExisting(const Existing& job) {
    if (!m_batches.isCurrent(job.batchID)) {
        end();
        return;
    }
    examine({.genericOnly = !job.retry && m_context.given().settings.genericOnly(), .notBefore = {}},
            job.retry, &JobLoop::existingExamined);
}

void JobLoop::existingExamined(const FileTasks::Examination& examination) {
    const auto& job = std::get<Existing>(m_current->job);
    if (!m_batches.isCurrent(job.batchID)) {
        end();
        return;
    }
    if (!examination.isFine() || m_context.ledger().isInFlight(*examination.identity)) {
        m_batches.leaveOut();
        end();
        return;
    }
    const auto marker = m_context.ledger().remembered(*examination.identity);
    if (marker && !(job.retry && marker->state == State::skipped)) {
        m_batches.leaveOutHandled(job.path, marker->state);
        end();
        return;
    }
    m_current->settled = examination.identity;
    log::write(log::Level::info, "analyse : %{private}s", {name()});
    m_context.prepareModel();
    runPipeline(m_context.pipeline(), &JobLoop::existingNamed);
}

void JobLoop::existingNamed(const Outcome& outcome) {
    const auto& job = std::get<Existing>(m_current->job);
    if (!m_batches.isCurrent(job.batchID)) {
        end();
        return;
    }
    if (!outcome) {
        log::write(log::Level::info, "analyse %{private}s: %{public}s", {name(), outcome.error().name()});
        m_batches.leaveOut();
        end();
    } else if (const Proposal* proposal = outcome->proposal()) {
        log::write(log::Level::info, "proposition existante conf %f : %{private}s",
                   {proposal->confidence, proposedNameOf(*proposal)});
        m_batches.add(*proposal);
        end();
    } else {
        log::write(log::Level::info, "analyse sans proposition : %{private}s", {name()});
        m_batches.countNoTitle();
        markSkipped();
    }
}

// ---- A file that the user asks for ----

void JobLoop::askedExamined(const FileTasks::Examination& examination) {
    const auto& job = std::get<Asked>(m_current->job);
    auto rejection = examination.rejection;
    if (!rejection && !examination.identity)
        rejection = Rejection::missing;
    if (!rejection && !job.order.again && m_context.ledger().remembered(*examination.identity))
        rejection = Rejection::processed;
    if (rejection) {
        answer({.naming = *rejection});
        return;
    }
    setProcessingName(std::string(name()));
    if (!job.order.locale) // what writes in another language gets ready when it is asked for
        m_context.prepareModel();
    runPipeline(m_context.pipeline(job.order.nameTemplate, job.order.locale), &JobLoop::askedNamed);
}

void JobLoop::askedNamed(const Outcome& outcome) {
    const auto& order = std::get<Asked>(m_current->job).order;
    if (!outcome) {
        answer({.naming = outcome.error()});
        return;
    }
    const Proposal* proposal = outcome->proposal();
    if (proposal == nullptr || !order.apply || proposal->confidence < order.minConfidence.value_or(0)) {
        answer({.naming = *outcome});
        return;
    }
    m_applier.apply({*proposal, proposal->baseName}, [this, serial = m_current->serial,
                                                      proposal = *proposal](const Applier::Result& applied) {
        if (applied && proposal.identity)
            m_proposals.dropFile(*proposal.identity);
        if (!m_current || m_current->serial != serial)
            return;
        if (applied)
            answer(
                {.naming = PipelineOutcome(proposal), .rename = applied->record, .marked = applied->marked});
        else
            answer({.naming = PipelineOutcome(proposal),
                    .rename = std::unexpected(applied.error().message),
                    .error = applied.error().error});
    });
}

void JobLoop::answer(const NamingAnswer& answer) {
    const auto done = std::move(std::get<Asked>(m_current->job).done);
    end();
    if (done)
        done(answer);
}

} // namespace vesto
