#include "app/model/BatchCommand.h"

#include "app/model/ModelRecords.h"
#include "core/files/FileName.h"
#include "core/support/Clock.h"
#include "core/support/Text.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace vesto {
namespace {

constexpr std::chrono::milliseconds progressStep(100); // between two words of it

Json recordOfItem(const Batch& batch, const Batch::Item& item, bool isFinal) {
    Json record = recordOf(item.proposal.url, {.naming = PipelineOutcome(item.proposal)});
    record["selected"] = item.selected;
    record["batchID"] = batch.id;
    if (!isFinal)
        return record;
    if (const auto* renamed = std::get_if<Batch::Renamed>(&item.state)) {
        record["from"] = item.proposal.url.native();
        record["to"] = siblingOf(item.proposal.url, renamed->newName).native();
    } else if (const auto* failed = std::get_if<Batch::Failed>(&item.state)) {
        record["outcome"] = "error";
        record["reason"] = failed->message;
    }
    return record;
}

} // namespace

void BatchCommand::begin(AppModel& model, std::shared_ptr<CommandRequest> request, Order order) {
    std::make_shared<BatchCommand>(model, std::move(request), std::move(order))->start();
}

void BatchCommand::start() {
    m_model.clearLastError();
    m_id = m_model.startBatch(m_order.folder);
    const auto self = shared_from_this();
    m_connection = QObject::connect(&m_model, &AppModel::batchChanged, &m_model, [self] { self->look(); });
    m_request->setOnCancel([self] { self->finish(false); });
    look();
}

void BatchCommand::look() {
    if (m_stage == Stage::over || m_isChoosing)
        return;
    const auto self = shared_from_this(); // the connection that keeps us may end in here
    const Batch* batch = m_model.batch();
    if (batch == nullptr || batch->id != m_id) {
        const auto& error = m_model.lastError();
        finish(false, error && batch == nullptr ? std::string_view(*error)
                                                : text("Une autre analyse a pris la place de celle-ci."));
        return;
    }
    tellItems(*batch);
    tellProgress(*batch);
    if (m_stage == Stage::analysing && !batch->isAnalysing())
        analysed(*batch);
}

void BatchCommand::analysed(const Batch& batch) {
    if (!std::exchange(m_asked, true) && !m_order.also.empty()) {
        m_isChoosing = true;
        for (const AlsoAnalyse which : m_order.also)
            m_model.analyseAlso(which);
        m_isChoosing = false;
        if (batch.isAnalysing())
            return;
    }
    tellLines(batch);
    if (!m_order.apply) {
        finish(!batch.items.empty());
        return;
    }
    m_stage = Stage::renaming;
    select();
    m_model.renameSelected([self = shared_from_this()] {
        if (self->m_stage == Stage::over)
            return;
        self->look();
        self->finish(self->m_told > 0 && self->m_failed == 0);
    });
}

void BatchCommand::select() {
    if (!m_order.minConfidence)
        return;
    std::vector<std::string> chosen;
    std::vector<std::string> others;
    for (const Batch::Item& item : m_model.batch()->items)
        (item.proposal.confidence >= *m_order.minConfidence ? chosen : others).push_back(item.proposal.id);
    m_isChoosing = true;
    m_model.setItemsSelected(chosen, true);
    m_model.setItemsSelected(others, false);
    m_isChoosing = false;
}

void BatchCommand::tellItems(const Batch& batch) {
    if (m_order.apply && m_stage == Stage::analysing)
        return; // each is told once, with what became of it
    while (m_told < batch.items.size()) {
        const Batch::Item& item = batch.items[m_told];
        if (batch.isRenaming && item.selected && item.isProposed())
            return; // its turn comes
        ++m_told;
        if (m_stage == Stage::renaming && !std::holds_alternative<Batch::Renamed>(item.state))
            ++m_failed;
        m_request->line(recordOfItem(batch, item, m_stage == Stage::renaming));
    }
}

void BatchCommand::tellProgress(const Batch& batch) {
    const auto now = systemClock().sinceBoot();
    if (now - m_lastProgress < progressStep && batch.isAnalysing())
        return;
    m_lastProgress = now;
    Json record;
    record["stage"] = batch.isListing ? "listing" : m_stage == Stage::renaming ? "renaming" : "analysing";
    record["done"] = m_stage == Stage::renaming ? m_told : batch.analysed;
    record["total"] = m_stage == Stage::renaming ? batch.items.size() : batch.total;
    m_request->progress(record);
}

void BatchCommand::tellLines(const Batch& batch) {
    for (const BatchLine& line : batchLines(batch)) {
        Json record;
        record["outcome"] = "summary";
        record["counter"] = rawValue(line.counter);
        record["count"] = line.count;
        record["text"] = line.text;
        m_request->line(record);
    }
    if (const std::string_view status = batchStatus(batch); !status.empty()) {
        Json record;
        record["outcome"] = "summary";
        record["text"] = status;
        m_request->line(record);
    }
}

void BatchCommand::finish(bool done, std::string_view reason) {
    if (std::exchange(m_stage, Stage::over) == Stage::over)
        return;
    const std::string kept(reason); // which may be the model's own, gone with the next change
    QObject::disconnect(m_connection);
    if (const Batch* batch = m_model.batch(); batch != nullptr && batch->id == m_id)
        m_model.closeBatch();
    Json members;
    members["done"] = done;
    if (!kept.empty())
        members["reason"] = kept;
    members["batchID"] = m_id;
    m_request->end(std::move(members));
}

} // namespace vesto
