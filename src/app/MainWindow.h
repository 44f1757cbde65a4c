#pragma once

#include "app/AppWindow.h"
#include "app/views/View.h"

namespace orvanel {

class MainView;

/// The window "main".
class MainWindow final : public AppWindow {
    Q_OBJECT

public:
    explicit MainWindow(ViewContext context);

protected:
    QAbstractButton* defaultButton() const override;

private:
    MainView* m_view;
};

} // namespace orvanel
