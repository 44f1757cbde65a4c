#pragma once

#include "platform/Dialogs.h"

#include <QFileDialog>

namespace orvanel {

/// Lets the user choose an existing file, an existing folder, or either, which no desktop's own dialog offers. It
/// changes nothing on the disk, and asks nothing itself: QFileDialog's own questions run a nested event loop.
class OpenPathDialog final : public QFileDialog {
    Q_OBJECT

public:
    explicit OpenPathDialog(const OpenPanel& panel, QWidget* parent = nullptr);

    void accept() override;

private:
    bool isFileChosen() const;
    void takeFilesToo();

    bool m_takesEither;
};

} // namespace orvanel
