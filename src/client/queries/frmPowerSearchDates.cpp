// The date range every Power Search and Fixed Report covers, as the view's controls show it: the
// preset options, the custom pickers with their order checks, and the range text.

#include "queries/frmPowerSearch.h"

#include "core/modDateRanges.h"
#include "queries/DateField.h"
#include "queries/frmDateTime.h"
#include "shared/modShared.h"
#include "vb/DateTime.h"

#include <QRadioButton>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

frmPowerSearch::NowFunction& nowFunction() {
    static frmPowerSearch::NowFunction now;
    return now;
}

// Whole seconds, so two readings of the same moment always compare equal.
std::int64_t seconds(double serial) {
    return vb::linearSeconds(serial);
}

void tellUser(const QString& message) {
    modShared::fncMessageBox(message, QString(), modShared::vbOKOnly);
}

} // namespace

frmPowerSearch::NowFunction frmPowerSearch::setNowFunction(NowFunction now) {
    return std::exchange(nowFunction(), std::move(now));
}

double frmPowerSearch::fncNow() {
    return nowFunction() ? nowFunction()() : vb::now();
}

double frmPowerSearch::fncGetPreviousSunday(double xDay) {
    return modDateRanges::fncGetPreviousSunday(xDay);
}

void frmPowerSearch::optDateTimeRange_Click(int index) {
    subMarkUnsaved();
    if (index >= 0 && index < static_cast<int>(optDateTimeRange.size()))
        optDateTimeRange[index]->setChecked(true);
    if (const auto range = modDateRanges::fncPresetRange(index, fncNow())) {
        fdtStartTime->setValue(range->start);
        fdtEndTime->setValue(range->end);
    }
    // Custom starts from whatever range was chosen before it.
    if (index == modDateRanges::kCustomRange)
        subEnableCustomRange();
    else
        subDisableCustomRange();
}

QString frmPowerSearch::fncDateRangeText() const {
    return modDateRanges::fncDateRangeText(fdtStartTime->value(), fdtEndTime->value());
}

void frmPowerSearch::subEnableCustomRange() {
    fdtStartTime->setEnabled(true);
    fdtEndTime->setEnabled(true);
}

void frmPowerSearch::subDisableCustomRange() {
    fdtStartTime->setEnabled(false);
    fdtEndTime->setEnabled(false);
}

std::optional<double> frmPowerSearch::fncPickDate(const QString& banner, double value,
                                                  bool hideClock) {
    frmDateTime& dialog = frmDateTime::instance(window());
    dialog.Banner = banner;
    dialog.DateTime = value;
    // Left alone otherwise: the dialog puts its clock back each time it unloads.
    if (hideClock) dialog.HideClock = true;
    dialog.showModal();
    if (dialog.Cancel) return std::nullopt;
    return dialog.DateTime;
}

void frmPowerSearch::fdtStartTime_Click() {
    const auto picked = fncPickDate(u"Select start date and time"_s, fdtStartTime->value(), false);
    if (!picked) return;
    if (seconds(fdtEndTime->value()) >= seconds(*picked))
        fdtStartTime->setValue(*picked);
    else
        tellUser(u"The start time you are trying to enter is later than the current end date."_s);
}

void frmPowerSearch::fdtEndTime_Click() {
    const auto picked = fncPickDate(u"Select end date and time"_s, fdtEndTime->value(), false);
    if (!picked) return;
    if (seconds(fdtStartTime->value()) <= seconds(*picked))
        fdtEndTime->setValue(*picked);
    else
        tellUser(u"The end time you are trying to enter is earlier than the current start date."_s);
}
