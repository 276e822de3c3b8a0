#include "app/model/QtLog.h"

#include "core/support/Log.h"

#include <QString>
#include <QtGlobal>

namespace vesto {
namespace {

/// Private: what Qt says may hold a file's name.
void noteForLog(QtMsgType type, const QMessageLogContext&, const QString& message) {
    log::write(type == QtDebugMsg || type == QtInfoMsg ? log::Level::debug : log::Level::info,
               "Qt : %{private}s", {std::string_view(message.toUtf8().constData())});
}

} // namespace

void sendQtMessagesToLog() {
    qInstallMessageHandler(noteForLog);
}

} // namespace vesto
