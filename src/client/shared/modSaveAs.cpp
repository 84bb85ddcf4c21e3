#include "shared/modSaveAs.h"

#include "shared/modShared.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace modSaveAs {

namespace {

NameHandler& nameHandler() {
    static NameHandler handler;
    return handler;
}

// "Text File|*.txt" as the file dialog writes a filter: "Text File (*.txt)". A description that
// already shows its pattern ("BMP Files (*.BMP)|*.BMP") is not given it twice.
QString dialogFilter(const QString& filter) {
    const qsizetype bar = filter.indexOf(u'|');
    if (bar < 0) return filter;
    const QString description = filter.left(bar);
    const QString shown = u" ("_s + filter.mid(bar + 1) + u')';
    return description.endsWith(shown) ? description : description + shown;
}

std::optional<QString> typedName(const SaveAsFormat& format) {
    if (nameHandler()) return nameHandler()(format);
    QFileDialog dialog(modShared::fncOwnerWindow(), format.caption);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    // The question before overwriting is asked below, the same whichever dialog took the name.
    dialog.setOption(QFileDialog::DontConfirmOverwrite);
    dialog.setNameFilter(dialogFilter(format.filter));
    if (!format.initialName.isEmpty()) dialog.selectFile(format.initialName);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return std::nullopt;
    return dialog.selectedFiles().constFirst();
}

QString withExtension(const QString& name, const QString& extension) {
    return QFileInfo(name).suffix().isEmpty() ? name + extension : name;
}

// True when the name may be written: its folder exists, and an existing file is one the user
// agrees to replace.
bool accepted(const QString& path) {
    const QFileInfo file(path);
    if (!file.absoluteDir().exists()) {
        modShared::fncMessageBox(
            u"%1\nThe folder does not exist. Check the name and try again."_s.arg(
                QDir::toNativeSeparators(path)),
            u"Save As"_s, modShared::vbExclamation);
        return false;
    }
    if (!file.exists()) return true;
    return modShared::fncMessageBox(u"%1 already exists.\nDo you want to replace it?"_s.arg(
                                        QDir::toNativeSeparators(path)),
                                    u"Confirm Save As"_s,
                                    modShared::vbYesNo | modShared::vbExclamation) ==
           modShared::vbYes;
}

} // namespace

std::optional<QString> fncSaveAs(const SaveAsFormat& format) {
    while (const std::optional<QString> name = typedName(format)) {
        const QString path = withExtension(*name, format.defaultExtension);
        if (accepted(path)) return path;
    }
    return std::nullopt;
}

NameHandler setNameHandler(NameHandler handler) {
    return std::exchange(nameHandler(), std::move(handler));
}

} // namespace modSaveAs
