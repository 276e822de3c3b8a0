#pragma once
#include "app/model/AppModel.h"
#include "app/model/CommandRequest.h"
#include "app/model/ModelDesk.h"
#include "core/support/Json.h"
#include "core/support/UniqueFd.h"

#include <QObject>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace vesto {

/// The orders that programs can give to an engine, as JSON objects with a "verb": the same whether they come
/// over the control socket or from the process itself.
///
///     status                                       "pid", "watching", "paused", "processing", "jobs", …
///     folders                                      a line for each, with how it is watched
///     addFolder url · removeFolder id · setFolder id enabled|automatic
///     pending · accept id [title] · ignore id
///     rename url [template] [locale] [genericOnly] [again] [minConfidence]
///     undo url|id|last · undoBatch id
///     batch url [also…] [apply] [minConfidence]
///     setPaused paused · leave · show [hidden]      (hidden: only tells whether there is a window)
///     model url [instructions] · title url instructions prompt maxTokens
///     speech url samples locales seconds, and a sound   (see services/client/LentModel.h)
///
/// An id may be the beginning of one, four characters at least, where no other begins so. Main thread; must
/// not outlive the model.
class Commands {
public:
    /// `leave`: somebody asked this engine to finish and go. `show`: to bring up its window; empty where it
    /// has none.
    Commands(AppModel& model, std::function<void()> leave, std::function<void()> show = {})
        : m_model(model)
        , m_leave(std::move(leave))
        , m_show(std::move(show)) {}

    /// Lets other programs use our models.
    void lendModel(ModelDesk::Lend lend) { m_desk.lend(std::move(lend)); }
    void lendSpeech(std::shared_ptr<RemoteTranscriber> speech) { m_desk.lendSpeech(std::move(speech)); }

    using Request = std::shared_ptr<CommandRequest>;

    /// Begins to serve a request, with the descriptor that came along, once the model is ready for it. `emit`
    /// may be called before this returns.
    Request begin(const Json& order, CommandRequest::Emit emit, UniqueFd attachment = {});

private:
    void dispatch(const std::string& verb, const Json& order, UniqueFd attachment, const Request& request);

    void status(const Request& request);
    void folders(const Request& request);
    void addFolder(const Json& order, const Request& request);
    void changeFolder(const std::string& verb, const Json& order, const Request& request);
    void pending(const Request& request);
    void accept(const Json& order, const Request& request);
    void ignore(const Json& order, const Request& request);
    void prepareModel(const Json& order, const Request& request);
    void rename(const Json& order, const Request& request);
    void undo(const Json& order, const Request& request);
    void undoBatch(const Json& order, const Request& request);
    void batch(const Json& order, const Request& request);

    AppModel& m_model;
    std::function<void()> m_leave;
    std::function<void()> m_show;
    ModelDesk m_desk;
    QObject m_life; // ends what waits for the model
};

} // namespace vesto
