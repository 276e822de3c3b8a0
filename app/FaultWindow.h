#pragma once
#include <QString>
#include <QWidget>
#include <functional>
#include <string>

namespace vesto {

/// Says why the application cannot work, or not yet. Closing it ends the program.
class FaultWindow : public QWidget {
public:
    /// `closed`: the user has closed it.
    FaultWindow(const QString& heading, const std::string& words, std::function<void()> closed = {});

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    std::function<void()> m_closed;
};

} // namespace vesto
