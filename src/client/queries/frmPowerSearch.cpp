// The view itself: its three tabs and their controls, the lookups behind the criteria boxes, price
// entry, what marks the criteria as no longer those of a saved search, and the view's own load,
// resize and close.

#include "queries/frmPowerSearch.h"

#include "core/Session.h"
#include "core/modDateRanges.h"
#include "core/modPowerSearch.h"
#include "output/RecordsetModel.h"
#include "queries/DateField.h"
#include "shared/ViewHost.h"
#include "shared/modShared.h"
#include "vb/Convert.h"
#include "vb/DateTime.h"
#include "vb/Format.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMdiSubWindow>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSpinBox>
#include <QTabWidget>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QSize kViewSize(762, 480);
const QString kUnsavedSearch = u"Saved PowerSearches..."_s;

const QStringList kSearchTypeCaptions = {u"List Matching Transactions"_s, u"Summary by Clerk"_s,
                                         u"Summary by Register"_s};

// A combo whose lookup list is set up afresh each time it drops down.
class LookupCombo : public QComboBox {
public:
    LookupCombo(QWidget* parent, std::function<void(QComboBox*)> beforePopup)
        : QComboBox(parent), beforePopup_(std::move(beforePopup)) {}
    void showPopup() override {
        beforePopup_(this);
        QComboBox::showPopup();
    }

private:
    std::function<void(QComboBox*)> beforePopup_;
};

// Up-down buttons only: each step is handed on, the box keeps no value of its own.
class UpDownButtons : public QSpinBox {
public:
    UpDownButtons(QWidget* parent, std::function<void(int)> onStep)
        : QSpinBox(parent), onStep_(std::move(onStep)) {}
    void stepBy(int steps) override { onStep_(steps); }

protected:
    StepEnabled stepEnabled() const override { return StepUpEnabled | StepDownEnabled; }

private:
    std::function<void(int)> onStep_;
};

// An editable combo reads its items' text under the edit role; a lookup's text is what it shows.
class LookupModel : public RecordsetModel {
public:
    using RecordsetModel::RecordsetModel;
    QVariant data(const QModelIndex& index, int role) const override {
        return RecordsetModel::data(index, role == Qt::EditRole ? Qt::DisplayRole : role);
    }
};

QTableView* dropDownTable(QComboBox* combo) {
    return qobject_cast<QTableView*>(combo->view());
}

QTableView* makeDropDownTable() {
    auto* table = new QTableView;
    table->horizontalHeader()->hide();
    table->verticalHeader()->hide();
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->verticalHeader()->setDefaultSectionSize(table->fontMetrics().height() + 4);
    table->setShowGrid(false);
    table->setWordWrap(false);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    return table;
}

QLabel* buddyLabel(const QString& caption, QWidget* buddy) {
    auto* label = new QLabel(caption, buddy->parentWidget());
    label->setBuddy(buddy);
    return label;
}

} // namespace

frmPowerSearch::frmPowerSearch(client::ViewHost& host, QWidget* parent)
    : QWidget(parent), host_(host) {
    setObjectName(u"frmPowerSearch"_s);
    setWindowTitle(u"Tillsight Reports"_s);
    tabReports = new QTabWidget(this);
    tabReports->setObjectName(u"tabReports"_s);
    for (const QString& caption : {u"Fixed Reports"_s, u"Power Search"_s, u"Daily Summary"_s}) {
        auto* panel = new QWidget(tabReports);
        panel->setObjectName(u"elaTab"_s);
        elaTab[tabReports->count()] = panel;
        tabReports->addTab(panel, caption);
    }
    cmdRun = new QPushButton(u"Generate Report"_s, this);
    cmdRun->setObjectName(u"cmdRun"_s);
    cmdRun->setDefault(true);
    subBuildInterval();
    subBuildFixedReportsTab();
    subBuildPowerSearchTab();
    subBuildDailySummaryTab();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->addWidget(tabReports);
    tabReports_Click(tabReports->currentIndex());
    subConnectBehaviours();

    optDateTimeRange_Click(1);
    viewSize_ = fncFittedViewSize();
    setFixedSize(viewSize_);
    modShared::subEnableControls(this, false);
}

frmPowerSearch::~frmPowerSearch() = default;

void frmPowerSearch::subBuildInterval() {
    elaInterval = new QGroupBox(u"Interval"_s, this);
    elaInterval->setObjectName(u"elaInterval"_s);
    auto* grid = new QGridLayout(elaInterval);
    const int perColumn = static_cast<int>(optDateTimeRange.size() + 1) / 2;
    for (int i = 0; i < static_cast<int>(optDateTimeRange.size()); ++i) {
        optDateTimeRange[i] = new QRadioButton(modDateRanges::fncRangeCaptions()[i], elaInterval);
        optDateTimeRange[i]->setObjectName(u"optDateTimeRange"_s);
        optDateTimeRange[i]->setProperty("index", i);
        grid->addWidget(optDateTimeRange[i], i % perColumn, i / perColumn * 2, 1, 2);
    }
    fdtStartTime = new DateField(elaInterval);
    fdtStartTime->setObjectName(u"fdtStartTime"_s);
    fdtEndTime = new DateField(elaInterval);
    fdtEndTime->setObjectName(u"fdtEndTime"_s);
    grid->addWidget(buddyLabel(u"Start"_s, fdtStartTime), perColumn, 0);
    grid->addWidget(fdtStartTime, perColumn, 1, 1, 3);
    grid->addWidget(buddyLabel(u"End"_s, fdtEndTime), perColumn + 1, 0);
    grid->addWidget(fdtEndTime, perColumn + 1, 1, 1, 3);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);
}

void frmPowerSearch::subBuildFixedReportsTab() {
    QWidget* panel = elaTab[0];
    lstFixedReports = new QListWidget(panel);
    lstFixedReports->setObjectName(u"lstFixedReports"_s);
    chkLimitToCritical = new QCheckBox(u"Limit Action Code reports to Critical"_s, panel);
    chkLimitToCritical->setObjectName(u"chkLimitToCritical"_s);
    auto* reports = new QVBoxLayout;
    reports->addWidget(lstFixedReports, 1);
    reports->addWidget(chkLimitToCritical);
    auto* side = new QVBoxLayout;
    intervalSlot_[0] = new QVBoxLayout;
    side->addLayout(intervalSlot_[0]);
    side->addStretch(1);
    runSlot_[0] = new QHBoxLayout;
    runSlot_[0]->addStretch(1);
    side->addLayout(runSlot_[0]);
    auto* layout = new QHBoxLayout(panel);
    layout->addLayout(reports, 1);
    layout->addLayout(side);
}

void frmPowerSearch::subBuildPowerSearchTab() {
    QWidget* panel = elaTab[1];
    fraSearchType = new QGroupBox(u"Search Type"_s, panel);
    fraSearchType->setObjectName(u"fraSearchType"_s);
    auto* types = new QVBoxLayout(fraSearchType);
    for (int i = 0; i < static_cast<int>(optSearchType.size()); ++i) {
        optSearchType[i] = new QRadioButton(kSearchTypeCaptions[i], fraSearchType);
        optSearchType[i]->setObjectName(u"optSearchType"_s);
        optSearchType[i]->setProperty("index", i);
        types->addWidget(optSearchType[i]);
    }
    optSearchType[0]->setChecked(true);

    auto* criteria = new QGridLayout;
    cboItem = fncAddLookup(u"cboItem"_s);
    // A typed description is matched as it stands, so "BEER" alone finds only an item of that
    // exact name; the tip says how to match part of one.
    cboItem->setToolTip(u"Matches the exact text typed; add % for any letters: BEER% finds "
                        u"every item starting with BEER"_s);
    cboAction = fncAddLookup(u"cboAction"_s);
    chkNotActionCode = new QCheckBox(u"Everything but this code"_s, panel);
    chkNotActionCode->setObjectName(u"chkNotActionCode"_s);
    cboClerk = fncAddLookup(u"cboClerk"_s);
    cboRegister = fncAddLookup(u"cboRegister"_s);
    cboModifier = new QComboBox(panel);
    cboModifier->setObjectName(u"cboModifier"_s);
    cboModifier->setPlaceholderText(u"Modifier"_s);
    txtPrice = new QLineEdit(panel);
    txtPrice->setObjectName(u"txtPrice"_s);
    txtPrice->installEventFilter(this);
    spnValue = new UpDownButtons(panel, [this](int steps) { spnValue_Change(steps); });
    spnValue->setObjectName(u"spnValue"_s);
    spnValue->setFocusPolicy(Qt::NoFocus);
    spnValue->setFixedWidth(spnValue->sizeHint().height() * 3 / 4);
    chkAbsValue = new QCheckBox(u"Ignore negative signs"_s, panel);
    chkAbsValue->setObjectName(u"chkAbsValue"_s);
    const std::pair<QString, QWidget*> rows[] = {
        {u"Description"_s, cboItem},  {u"Action Code"_s, cboAction}, {u"Clerk"_s, cboClerk},
        {u"Register"_s, cboRegister}, {u"Modifier"_s, cboModifier},  {u"Price"_s, txtPrice}};
    for (int row = 0; row < static_cast<int>(std::size(rows)); ++row) {
        criteria->addWidget(buddyLabel(rows[row].first, rows[row].second), row, 0);
        criteria->addWidget(rows[row].second, row, 1, 1, row == 5 ? 1 : 2);
    }
    criteria->addWidget(chkNotActionCode, 1, 3);
    criteria->addWidget(spnValue, 5, 2);
    criteria->addWidget(chkAbsValue, 5, 3);
    criteria->setColumnStretch(1, 1);

    fraSavedSearches = new QGroupBox(u"Saved Power Searches"_s, panel);
    fraSavedSearches->setObjectName(u"fraSavedSearches"_s);
    cboReportTitle = new QComboBox(fraSavedSearches);
    cboReportTitle->setObjectName(u"cboReportTitle"_s);
    cboReportTitle->setEditable(true);
    cboReportTitle->setInsertPolicy(QComboBox::NoInsert);
    cboReportTitle->setCompleter(nullptr);
    cboReportTitle->setEditText(u"Saved Queries"_s);
    cmdSaveQuery = new QPushButton(u"Save Search"_s, fraSavedSearches);
    cmdSaveQuery->setObjectName(u"cmdSaveQuery"_s);
    cmdDeleteQuery = new QPushButton(u"Delete Search"_s, fraSavedSearches);
    cmdDeleteQuery->setObjectName(u"cmdDeleteQuery"_s);
    auto* saved = new QHBoxLayout(fraSavedSearches);
    saved->addWidget(cboReportTitle, 1);
    saved->addWidget(cmdSaveQuery);
    saved->addWidget(cmdDeleteQuery);

    auto* search = new QVBoxLayout;
    search->addWidget(fraSearchType);
    search->addLayout(criteria);
    search->addStretch(1);
    search->addWidget(fraSavedSearches);

    cmdReset = new QPushButton(u"Reset All"_s, panel);
    cmdReset->setObjectName(u"cmdReset"_s);
    auto* side = new QVBoxLayout;
    intervalSlot_[1] = new QVBoxLayout;
    side->addLayout(intervalSlot_[1]);
    side->addStretch(1);
    runSlot_[1] = new QHBoxLayout;
    runSlot_[1]->addStretch(1);
    runSlot_[1]->addWidget(cmdReset);
    side->addLayout(runSlot_[1]);

    auto* layout = new QHBoxLayout(panel);
    layout->addLayout(search, 1);
    layout->addLayout(side);
}

void frmPowerSearch::subBuildDailySummaryTab() {
    QWidget* panel = elaTab[2];
    fdtDailySummary = new DateField(panel);
    fdtDailySummary->setObjectName(u"fdtDailySummary"_s);
    fdtDailySummary->setDateOnly(true);
    auto* target = new QHBoxLayout;
    target->addWidget(buddyLabel(u"Target Date"_s, fdtDailySummary));
    target->addWidget(fdtDailySummary);
    target->addStretch(1);
    runSlot_[2] = new QHBoxLayout;
    runSlot_[2]->addStretch(1);
    auto* layout = new QVBoxLayout(panel);
    layout->addLayout(target);
    layout->addStretch(1);
    layout->addLayout(runSlot_[2]);
}

QComboBox* frmPowerSearch::fncAddLookup(const QString& name) {
    auto* combo = new LookupCombo(elaTab[1], [this](QComboBox* box) {
        if (box == cboRegister) subHideRegisterDetails();
        subFitColumns(box);
    });
    combo->setObjectName(name);
    combo->setEditable(true);
    combo->setInsertPolicy(QComboBox::NoInsert);
    // A typed value is a pattern as it stands; completion would change what the user typed.
    combo->setCompleter(nullptr);
    combo->setModel(new LookupModel(combo));
    combo->setView(makeDropDownTable());
    // Only the user's own changes count: a restored search must keep its title.
    connect(combo, &QComboBox::activated, this, [this] { subSetReportTitleText(kUnsavedSearch); });
    connect(combo->lineEdit(), &QLineEdit::textEdited, this,
            [this] { subSetReportTitleText(kUnsavedSearch); });
    return combo;
}

void frmPowerSearch::subConnectBehaviours() {
    connect(tabReports, &QTabWidget::currentChanged, this, &frmPowerSearch::tabReports_Click);
    connect(cmdRun, &QPushButton::clicked, this, &frmPowerSearch::cmdRun_Click);
    connect(cmdReset, &QPushButton::clicked, this, &frmPowerSearch::subResetCriteria);
    connect(lstFixedReports, &QListWidget::itemDoubleClicked, this,
            &frmPowerSearch::subRunFixedReport);
    connect(cboReportTitle, &QComboBox::activated, this, &frmPowerSearch::cboReportTitle_Click);
    connect(cmdSaveQuery, &QPushButton::clicked, this, &frmPowerSearch::cmdSaveQuery_Click);
    connect(cmdDeleteQuery, &QPushButton::clicked, this, &frmPowerSearch::cmdDeleteQuery_Click);
    connect(cboModifier, &QComboBox::activated, this, &frmPowerSearch::subMarkUnsaved);
    connect(chkAbsValue, &QCheckBox::clicked, this, &frmPowerSearch::subMarkUnsaved);
    connect(chkNotActionCode, &QCheckBox::clicked, this, &frmPowerSearch::subMarkUnsaved);
    connect(txtPrice, &QLineEdit::textChanged, this, &frmPowerSearch::subMarkUnsaved);
    for (QRadioButton* option : optSearchType)
        connect(option, &QRadioButton::clicked, this, &frmPowerSearch::subMarkUnsaved);
    for (int i = 0; i < static_cast<int>(optDateTimeRange.size()); ++i)
        connect(optDateTimeRange[i], &QRadioButton::clicked, this,
                [this, i] { optDateTimeRange_Click(i); });
    connect(fdtStartTime, &DateField::clicked, this, &frmPowerSearch::fdtStartTime_Click);
    connect(fdtEndTime, &DateField::clicked, this, &frmPowerSearch::fdtEndTime_Click);
    connect(fdtDailySummary, &DateField::clicked, this, &frmPowerSearch::fdtDailySummary_Click);
}

void frmPowerSearch::subInitForm() {
    core::Session& session = host_.session();
    const core::BusyScope busy(session.busy());
    setEnabled(true);
    subBindLookup(cboItem, session.grsProducts);
    if (session.grsProducts) subFitColumns(cboItem);
    subBindLookup(cboAction, session.grsActionCodes);
    if (session.grsActionCodes) subFitColumns(cboAction);
    subBindLookup(cboClerk, session.grsClerks);
    subBindLookup(cboRegister, session.grsReg2Cam);
    subHideRegisterDetails();
    cboModifier->clear();
    cboModifier->addItems(modPowerSearch::fncModifierCaptions());
    fdtDailySummary->setDateOnly(true);
    fdtDailySummary->setValue(vb::dateAdd(vb::Interval::Day, -1, fncNow()));
    subLoadSavedSearches();
    subSetReportTitleText(kUnsavedSearch);
    subLoadFixedReports();
    tabReports->setCurrentIndex(1);
    subResetCriteria();
}

void frmPowerSearch::subBindLookup(QComboBox* combo,
                                   const std::shared_ptr<rs::Recordset>& records) {
    static_cast<RecordsetModel*>(combo->model())->setRecordset(records);
    combo->setCurrentIndex(-1);
}

void frmPowerSearch::subFitColumns(QComboBox* combo) {
    QTableView* table = dropDownTable(combo);
    if (!table) return;
    table->resizeColumnsToContents();
    int width = 2 * table->frameWidth() + table->verticalScrollBar()->sizeHint().width();
    for (int column = 0; column < table->model()->columnCount(); ++column)
        if (!table->isColumnHidden(column)) width += table->columnWidth(column);
    // The list opens at least as wide as its columns, and never narrower than the box.
    table->setMinimumWidth(width);
}

void frmPowerSearch::subHideRegisterDetails() {
    QTableView* table = dropDownTable(cboRegister);
    for (int column = 1; column < table->model()->columnCount(); ++column)
        table->setColumnHidden(column, true);
}

void frmPowerSearch::subResetCriteria() {
    for (QComboBox* lookup : {cboItem, cboAction, cboClerk, cboRegister})
        lookup->setEditText(QString());
    txtPrice->clear();
    cboModifier->setCurrentIndex(0);
    optDateTimeRange_Click(1);
    optSearchType[0]->setChecked(true);
    subSetReportTitleText(kUnsavedSearch);
    // The three check boxes keep their state: a reset is about the values, not the switches.
}

void frmPowerSearch::subMarkUnsaved() {
    if (!mblnRestoring) subSetReportTitleText(kUnsavedSearch);
}

void frmPowerSearch::subSetReportTitleText(const QString& text) {
    cboReportTitle->setCurrentIndex(-1);
    cboReportTitle->setEditText(text);
}

void frmPowerSearch::cboReportTitle_Click(int index) {
    if (index < 0) return;
    mblnRestoring = true;
    subRestoreSearch(cboReportTitle->itemData(index).toInt(), grsPowerSearches);
    mblnRestoring = false;
}

QSize frmPowerSearch::fncFittedViewSize() {
    // The designed size is the least; a larger system font gets the room its controls need, on
    // each tab with the date controls and the run button it shares.
    QSize needed = kViewSize;
    const int shown = tabReports->currentIndex();
    for (int tab = 0; tab < tabReports->count(); ++tab) {
        tabReports->setCurrentIndex(tab);
        // Nothing is laid out before the view is shown; the measure must not read stale sizes.
        elaTab[tab]->layout()->activate();
        tabReports->updateGeometry();
        needed = needed.expandedTo(modShared::fncFittedSize(this, kViewSize));
    }
    tabReports->setCurrentIndex(shown);
    return needed;
}

void frmPowerSearch::tabReports_Click(int index) {
    // Fixed Reports and Power Search share one set of date controls.
    if (index == 0 || index == 1) {
        intervalSlot_[index]->addWidget(elaInterval);
        elaInterval->show();
    }
    if (index >= 0 && index < static_cast<int>(runSlot_.size())) {
        runSlot_[index]->addWidget(cmdRun);
        cmdRun->show();
    }
}

void frmPowerSearch::cmdRun_Click() {
    switch (tabReports->currentIndex()) {
    case 0:
        subRunFixedReport();
        break;
    case 1:
        subRunPowerSearch();
        break;
    case 2:
        subOpenDailySummary();
        break;
    default:
        break;
    }
}

void frmPowerSearch::subOpenDailySummary() {
    host_.subShowDailySummary(fdtDailySummary->value());
}

void frmPowerSearch::fdtDailySummary_Click() {
    if (const auto picked = fncPickDate(u"Select Target Date"_s, fdtDailySummary->value(), true))
        fdtDailySummary->setValue(*picked);
}

bool frmPowerSearch::eventFilter(QObject* watched, QEvent* event) {
    if (watched == txtPrice) {
        if (event->type() == QEvent::FocusIn)
            // After the click that gave the focus has placed the cursor, or it would undo this.
            QTimer::singleShot(0, this, [] { modShared::subSelectAllText(); });
        else if (event->type() == QEvent::FocusOut &&
                 static_cast<QFocusEvent*>(event)->reason() != Qt::PopupFocusReason)
            txtPrice_LostFocus();
    }
    return QWidget::eventFilter(watched, event);
}

void frmPowerSearch::txtPrice_LostFocus() {
    if (txtPrice->text().isEmpty()) return;
    txtPrice->setText(vb::format(vb::Variant(vb::val(txtPrice->text())), u"0.00"_s));
}

void frmPowerSearch::spnValue_Change(int steps) {
    // No lower bound: refunds and voids carry negative prices.
    const double price = vb::val(txtPrice->text()) + 0.01 * steps;
    txtPrice->setText(vb::format(vb::Variant(price), u"#0.00"_s));
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

void frmPowerSearch::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    const QWidget* frame = qobject_cast<QMdiSubWindow*>(parentWidget());
    const Qt::WindowStates state = (frame ? frame : this)->windowState();
    if (state & (Qt::WindowMinimized | Qt::WindowMaximized)) return;
    if (size() != viewSize_) resize(viewSize_);
}
