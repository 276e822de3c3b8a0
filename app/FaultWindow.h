#pragma once
#include <QWidget>
#include <string>

namespace vesto {

/// Says why the application cannot work. Closing it ends the program.
class FaultWindow : public QWidget {
public:
    explicit FaultWindow(const std::string& fault);
};

} // namespace vesto
