#include "app/FileOrFolderDialog.h"

#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPushButton>

namespace orvanel {

FileOrFolderDialog::FileOrFolderDialog(QWidget* parent)
    : QFileDialog(parent) {
    setOption(QFileDialog::DontUseNativeDialog);
    setOption(QFileDialog::ShowDirsOnly, false);
    setFileMode(QFileDialog::Directory);

    // A dialog for folders shows files, but neither lets them be chosen nor takes one for an answer. This comes after
    // the dialog's own look at the name.
    auto* name = findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    auto* buttons = findChild<QDialogButtonBox*>();
    if (name != nullptr && buttons != nullptr) {
        connect(name, &QLineEdit::textChanged, this, [this, buttons] {
            if (isFileChosen()) {
                buttons->button(QDialogButtonBox::Open)->setEnabled(true);
            }
        });
    }
}

bool FileOrFolderDialog::isFileChosen() const {
    const QStringList chosen = selectedFiles();
    return chosen.size() == 1 && QFileInfo(chosen.first()).isFile();
}

void FileOrFolderDialog::accept() {
    if (isFileChosen()) {
        // Not by the dialog's own accept(), which refuses files.
        done(QDialog::Accepted);
        return;
    }
    // That one complains about a name that does not exist in a way that holds up everything until it is answered.
    if (QFileInfo::exists(selectedFiles().value(0))) {
        QFileDialog::accept();
    }
}

} // namespace orvanel
