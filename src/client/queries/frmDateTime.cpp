#include "queries/frmDateTime.h"

#include "shared/modShared.h"
#include "vb/DateTime.h"

#include <QCalendarWidget>
#include <QPointer>
#include <QPushButton>
#include <QTimeEdit>
#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kMargin = 8;

frmDateTime::ModalHandler& modalHandler() {
    static frmDateTime::ModalHandler handler;
    return handler;
}

QPointer<frmDateTime>& theDialog() {
    static QPointer<frmDateTime> dialog;
    return dialog;
}

QDate calendarDate(double serial) {
    const vb::DateParts p = vb::splitDate(serial);
    return QDate(p.year, p.month, p.day);
}

QTime clockTime(double serial) {
    return QTime(0, 0).addSecs(vb::splitSerial(serial).second);
}

} // namespace

frmDateTime& frmDateTime::instance(QWidget* owner) {
    // It goes with the window it was made over; a later request after that makes a new one.
    if (!theDialog()) theDialog() = new frmDateTime(owner ? owner->window() : nullptr);
    return *theDialog();
}

frmDateTime::ModalHandler frmDateTime::setModalHandler(ModalHandler handler) {
    return std::exchange(modalHandler(), std::move(handler));
}

frmDateTime::frmDateTime(QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint),
      calCalendar(new QCalendarWidget(this)), DTPicker(new QTimeEdit(this)),
      cmdOK(new QPushButton(u"OK"_s, this)), cmdCancel(new QPushButton(u"Cancel"_s, this)) {
    setObjectName(u"frmDateTime"_s);
    setModal(true);
    calCalendar->setObjectName(u"calCalendar"_s);
    calCalendar->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
    calCalendar->setFirstDayOfWeek(Qt::Sunday);
    DTPicker->setObjectName(u"DTPicker"_s);
    DTPicker->setDisplayFormat(u"HH:mm:ss"_s);
    cmdOK->setObjectName(u"cmdOK"_s);
    cmdOK->setDefault(true);
    cmdCancel->setObjectName(u"cmdCancel"_s);
    connect(cmdOK, &QPushButton::clicked, this, &frmDateTime::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmDateTime::cmdCancel_Click);
    subArrange(true);
}

void frmDateTime::subArrange(bool withClock) {
    const QSize calendar = calCalendar->sizeHint();
    // A caption longer than the calendar widens the dialog; the controls stay together in the
    // middle.
    const int width =
        std::max(kMargin + calendar.width() + kMargin, modShared::fncTitleBarWidth(windowTitle()));
    const int left = (width - calendar.width()) / 2;
    calCalendar->setGeometry(left, kMargin, calendar.width(), calendar.height());
    const int pickerTop = kMargin + calendar.height() + kMargin;
    const int pickerHeight = DTPicker->sizeHint().height();
    DTPicker->setGeometry(left, pickerTop, calendar.width() / 2, pickerHeight);
    // Without the clock everything below it moves up by its height.
    const int shift = withClock ? 0 : pickerHeight;
    const QSize button = cmdOK->sizeHint().expandedTo(cmdCancel->sizeHint());
    const int buttonTop = pickerTop + pickerHeight + kMargin - shift;
    const int right = left + calendar.width();
    cmdCancel->setGeometry(right - button.width(), buttonTop, button.width(), button.height());
    cmdOK->setGeometry(right - 2 * button.width() - kMargin, buttonTop, button.width(),
                       button.height());
    setFixedSize(width, buttonTop + button.height() + kMargin);
}

void frmDateTime::Form_Load() {
    setWindowTitle(Banner.isEmpty() ? u"Select Date and Time"_s : Banner);
    DTPicker->setVisible(!HideClock);
    DTPicker->setTime(HideClock ? QTime(0, 0) : clockTime(DateTime));
    subArrange(!HideClock);
    calCalendar->setSelectedDate(calendarDate(DateTime));
    Cancel = false;
}

void frmDateTime::Form_Unload() {
    HideClock = false;
    hide();
}

void frmDateTime::showModal() {
    Form_Load();
    setResult(QDialog::Rejected);
    if (modalHandler())
        modalHandler()(*this);
    else
        exec();
    // Whatever closed it (its close box, Escape, the program's end) counts as Cancel unless OK did.
    if (result() != QDialog::Accepted) Cancel = true;
    Form_Unload();
}

void frmDateTime::cmdOK_Click() {
    const QDate day = calCalendar->selectedDate();
    DateTime = vb::joinSerial(vb::dayNumberFromCivil(day.year(), day.month(), day.day()),
                              DTPicker->time().msecsSinceStartOfDay() / 1000);
    done(QDialog::Accepted);
}

void frmDateTime::cmdCancel_Click() {
    Cancel = true;
    done(QDialog::Rejected);
}
