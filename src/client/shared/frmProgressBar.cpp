#include "shared/frmProgressBar.h"

#include "core/AppGlobals.h"
#include "shared/modShared.h"

#include <QProgressBar>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kDesignedWidth = 300;

} // namespace

frmProgressBar::frmProgressBar(QWidget* parent) : QDialog(parent), bar_(new QProgressBar(this)) {
    setObjectName(u"frmProgressBar"_s);
    setWindowTitle(core::applicationTitle());
    bar_->setObjectName(u"ProgressBar"_s);
    bar_->setRange(0, 100);
    bar_->setValue(0);
    bar_->setFormat(QString());
    bar_->setTextVisible(true);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(bar_);
    resize(modShared::fncFittedSize(this, {kDesignedWidth, sizeHint().height()}));
    modShared::subFormOnTop(this);
}

void frmProgressBar::setPercent(int percent) {
    bar_->setValue(percent);
    setCaption(QString::number(percent) + u" %"_s);
}

void frmProgressBar::setCaption(const QString& caption) {
    bar_->setFormat(caption);
}
