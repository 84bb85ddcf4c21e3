#include "queries/frmPowerSearch.h"

#include "link/modMain.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr QSize kViewSize(762, 480);
}

frmPowerSearch::frmPowerSearch(QWidget* parent)
    : QWidget(parent), tabReports_(new QTabWidget(this)),
      cmdRun_(new QPushButton(u"Generate Report"_s, this)),
      cmdReset_(new QPushButton(u"Reset All"_s, this)) {
    setObjectName(u"frmPowerSearch"_s);
    setWindowTitle(u"Tillsight Reports"_s);
    tabReports_->setObjectName(u"tabReports"_s);
    for (const QString& caption : {u"Fixed Reports"_s, u"Power Search"_s, u"Daily Summary"_s}) {
        auto* panel = new QWidget(tabReports_);
        panel->setObjectName(u"elaTab"_s);
        tabReports_->addTab(panel, caption);
    }
    cmdRun_->setObjectName(u"cmdRun"_s);
    cmdReset_->setObjectName(u"cmdReset"_s);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdReset_);
    buttons->addWidget(cmdRun_);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tabReports_);
    layout->addLayout(buttons);
    setFixedSize(kViewSize);
    modMain::subEnableControls(this, false);
}

void frmPowerSearch::subInitForm() {
    setEnabled(true);
    tabReports_->setCurrentIndex(1);
}

void frmPowerSearch::unload() {
    unloading_ = true;
}

void frmPowerSearch::closeEvent(QCloseEvent* event) {
    if (unloading_)
        event->accept();
    else
        event->ignore();
}
