#pragma once

#include <QFileDialog>

namespace orvanel {

/// Lets the user choose either an existing file or an existing folder, which no desktop's own dialog can.
class FileOrFolderDialog final : public QFileDialog {
    Q_OBJECT

public:
    explicit FileOrFolderDialog(QWidget* parent = nullptr);

    void accept() override;

private:
    bool isFileChosen() const;
};

} // namespace orvanel
