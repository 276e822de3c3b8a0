#pragma once
#include "app/model/AppModel.h"
#include "app/model/CommandRequest.h"

#include <QMetaObject>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vesto {

/// A batch that is driven by words instead of a window: it tells each file as its analysis ends, then, where
/// that is asked for, renames those that are sure enough. Whoever asked and leaves ends it. Main thread.
class BatchCommand : public std::enable_shared_from_this<BatchCommand> {
public:
    struct Order {
        std::filesystem::path folder;
        std::vector<AlsoAnalyse> also{};
        bool apply = false;
        std::optional<double> minConfidence{}; // else the setting
    };

    static void begin(AppModel& model, std::shared_ptr<CommandRequest> request, Order order);

    BatchCommand(AppModel& model, std::shared_ptr<CommandRequest> request, Order order)
        : m_model(model)
        , m_request(std::move(request))
        , m_order(std::move(order)) {}

private:
    void start();
    void look();
    void analysed(const Batch& batch);
    void select();
    void tellItems(const Batch& batch);
    void tellProgress(const Batch& batch);
    void tellLines(const Batch& batch);
    void finish(bool done, std::string_view reason = {});

    enum class Stage { analysing, renaming, over };

    AppModel& m_model;
    std::shared_ptr<CommandRequest> m_request;
    Order m_order;
    std::string m_id;
    QMetaObject::Connection m_connection;
    Stage m_stage = Stage::analysing;
    bool m_asked = false;      // for the files that were left out
    bool m_isChoosing = false; // our own changes are no news
    std::size_t m_told = 0;    // items
    std::size_t m_failed = 0;  // of these, or not sure enough
    std::chrono::nanoseconds m_lastProgress{0};
};

} // namespace vesto
