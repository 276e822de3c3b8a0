#pragma once
#include <QString>

/// The program `vesto-desktop` around its one application.
namespace vesto::Desktop {

/// What lets the first window come to the front, as it was given to this process; it is good for one window.
[[nodiscard]] QString takeActivationToken();

struct Start {
    bool isHidden = false; // without a window
    QString activationToken;
};

/// Runs until the user or the session ends it, or shows itself elsewhere where it runs already. Gives the
/// exit status. There is a QApplication.
[[nodiscard]] int run(const Start& start);

} // namespace vesto::Desktop
