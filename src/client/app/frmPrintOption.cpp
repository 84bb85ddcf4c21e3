#include "app/frmPrintOption.h"

#include "core/AppGlobals.h"
#include "shared/modShared.h"

#include <QCheckBox>
#include <QLabel>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

// Wide enough that the warning wraps onto three lines, as the dialog was drawn.
constexpr int kDesignedWidth = 330;

} // namespace

frmPrintOption::frmPrintOption(QWidget* parent) : QDialog(parent) {
    setObjectName(u"frmPrintOption"_s);
    setWindowTitle(u"Printing"_s);
    auto* body = new QWidget(this);
    chkEnablePreview_ = new QCheckBox(u"Enable Print Previews"_s, body);
    chkEnablePreview_->setObjectName(u"chkEnablePreview"_s);
    auto* warning = new QLabel(u"Warning: Tillsight may have difficulty displaying print previews "
                               u"when running in conjunction with some DVRs. See the manual for "
                               u"details."_s,
                               body);
    warning->setObjectName(u"lblPrintPreview"_s);
    warning->setWordWrap(true);
    auto* column = new QVBoxLayout(body);
    column->addWidget(chkEnablePreview_);
    column->addWidget(warning);
    modShared::layOutWithOkButton(this, body);

    chkEnablePreview_->setChecked(gEnablePreview);
    modShared::subFormOnTop(this);
    resize(modShared::fncFittedSize(this, {kDesignedWidth, heightForWidth(kDesignedWidth)}));
}

void frmPrintOption::done(int result) {
    gEnablePreview = chkEnablePreview_->isChecked();
    modShared::subSaveOption(u"Printing"_s, u"EnablePreview"_s, gEnablePreview ? u"-1"_s : u"0"_s);
    QDialog::done(result);
}
