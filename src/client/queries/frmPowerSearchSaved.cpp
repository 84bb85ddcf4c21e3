// Saved Power Searches as the view offers them: the list of titles, saving the criteria the
// controls hold under a title, restoring a pick into the controls, and deleting.

#include "queries/frmPowerSearch.h"

#include "core/modSavedSearches.h"
#include "shared/ViewHost.h"
#include "shared/modShared.h"
#include "vb/Convert.h"

#include <QComboBox>
#include <QInputDialog>
#include <QLineEdit>
#include <QSignalBlocker>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kAfterReload = u"Saved Reports..."_s;

frmPowerSearch::InputBoxHandler& inputBoxHandler() {
    static frmPowerSearch::InputBoxHandler handler;
    return handler;
}

} // namespace

frmPowerSearch::InputBoxHandler frmPowerSearch::setInputBoxHandler(InputBoxHandler handler) {
    return std::exchange(inputBoxHandler(), std::move(handler));
}

void frmPowerSearch::subLoadSavedSearches() {
    grsPowerSearches = modSavedSearches::fncLoadSavedSearches(host_.session());
    {
        // Filling the list is not a pick: nothing may be restored meanwhile.
        const QSignalBlocker quiet(cboReportTitle);
        cboReportTitle->clear();
        if (rs::fncHasRecords(grsPowerSearches)) {
            rs::Recordset& searches = *grsPowerSearches;
            for (searches.moveFirst(); !searches.eof(); searches.moveNext())
                cboReportTitle->addItem(vb::cstr(searches.field(u"fldreporttitle").value()),
                                        vb::clng(searches.field(u"idfReports2ID").value()));
        }
    }
    subSetReportTitleText(kAfterReload);
}

void frmPowerSearch::cmdSaveQuery_Click() {
    const QString prompt = u"Enter Title for report"_s;
    const QString caption = u"Save Power Search"_s;
    const QString title = inputBoxHandler()
                              ? inputBoxHandler()(prompt, caption, cboReportTitle->currentText())
                              : QInputDialog::getText(this, caption, prompt, QLineEdit::Normal,
                                                      cboReportTitle->currentText());
    if (title.isEmpty()) return;
    if (!modSavedSearches::fncSaveSearch(host_.session(), fncCriteria(), title)) return;
    subLoadSavedSearches();
}

void frmPowerSearch::subRestoreSearch(std::int32_t id,
                                      const std::shared_ptr<rs::Recordset>& records) {
    subApplyCriteria(
        modSavedSearches::fncRestoreSearch(*records, id, fncNow(), cboModifier->count()));
}

void frmPowerSearch::cmdDeleteQuery_Click() {
    const int entry = cboReportTitle->currentIndex();
    if (entry < 0) return;
    if (modShared::fncMessageBox(u"Are you sure you want to delete the query \""_s +
                                     cboReportTitle->itemText(entry) + u"\"?"_s,
                                 QString(),
                                 modShared::vbYesNo | modShared::vbDefaultButton2 |
                                     modShared::vbCritical) != modShared::vbYes)
        return;
    const std::int32_t id = cboReportTitle->itemData(entry).toInt();
    modSavedSearches::subDeleteSearch(host_.session(), id);
    subLoadSavedSearches();
}
