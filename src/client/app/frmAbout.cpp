#include "app/frmAbout.h"

#include "core/AppGlobals.h"
#include "core/modError.h"
#include "shared/modShared.h"

#include <QDialogButtonBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QSize kDesignedSize(360, 220);

} // namespace

frmAbout::frmAbout(core::Session* session, QWidget* parent)
    : QDialog(parent), session_(session), txtAbout_(new QPlainTextEdit(this)) {
    setObjectName(u"frmAbout"_s);
    txtAbout_->setObjectName(u"txtAbout"_s);
    txtAbout_->setReadOnly(true);
    cmdOK_ = modShared::layOutWithOkButton(this, txtAbout_);
    modShared::subFormOnTop(this);
    fillText();
    resize(modShared::fncFittedSize(this, kDesignedSize));
}

QString frmAbout::aboutText() const {
    return text_;
}

void frmAbout::fillText() {
    try {
        const QString title = core::applicationTitle();
        setWindowTitle(u"About "_s + title);
        text_ =
            u"\r\n"_s + title + u"\r\n\r\n"_s + u"Version "_s + core::versionText() + u"\r\n\r\n"_s;
        // The text box would take the carriage return and the line feed for two line breaks.
        txtAbout_->setPlainText(QString(text_).replace(u"\r\n"_s, u"\n"_s));
    } catch (const vb::VbError& error) {
        if (session_) modError::subLogError(*session_, error, u"frmAbout"_s, u"Form_Load"_s);
    }
}
