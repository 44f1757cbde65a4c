#include "app/OpenPathDialog.h"

#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace orvanel {

OpenPathDialog::OpenPathDialog(const OpenPanel& panel, QWidget* parent)
    : QFileDialog(parent)
    , m_takesEither(panel.filesAllowed && panel.foldersAllowed) {
    setOption(QFileDialog::ReadOnly);
    setFileMode(panel.foldersAllowed ? QFileDialog::Directory : QFileDialog::ExistingFile);
    if (m_takesEither) {
        takeFilesToo();
    }
}

/// A dialog for folders shows files, but does not accept them.
void OpenPathDialog::takeFilesToo() {
    setOption(QFileDialog::DontUseNativeDialog);
    setOption(QFileDialog::ShowDirsOnly, false);
    auto* name = findChild<QLineEdit*>(u"fileNameEdit"_s);
    auto* buttons = findChild<QDialogButtonBox*>();
    if (name == nullptr || buttons == nullptr) {
        return;
    }
    // Connected after the dialog's own slot, which disables the button for a file.
    connect(name, &QLineEdit::textChanged, this, [this, buttons] {
        if (isFileChosen()) {
            buttons->button(QDialogButtonBox::Open)->setEnabled(true);
        }
    });
}

bool OpenPathDialog::isFileChosen() const {
    const QStringList chosen = selectedFiles();
    return chosen.size() == 1 && QFileInfo(chosen.first()).isFile();
}

void OpenPathDialog::accept() {
    if (m_takesEither && isFileChosen()) {
        // QFileDialog::accept() would refuse a file.
        done(QDialog::Accepted);
        return;
    }
    // QFileDialog::accept() would complain about a name that does not exist.
    if (QFileInfo::exists(selectedFiles().value(0))) {
        QFileDialog::accept();
    }
}

} // namespace orvanel
