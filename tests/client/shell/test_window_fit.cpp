// Every window as a person sees it with a large system font: no caption, button text, box or
// title is cut, the main window shows its children whole, and arranging the child windows keeps
// the fixed-size search view at its size.

#include "app/frmAbout.h"
#include "app/frmMain.h"
#include "app/frmPrintOption.h"
#include "core/AppGlobals.h"
#include "link/frmSites.h"
#include "link/modMain.h"
#include "queries/frmDateTime.h"
#include "queries/frmPowerSearch.h"
#include "reports/frmDVR.h"
#include "reports/frmReportOutput.h"
#include "settings/SettingsPath.h"
#include "shared/frmKestrelMessage.h"
#include "shared/frmProgressBar.h"
#include "shared/modShared.h"

#include "support/DemoSite.h"
#include "support/GuiTestSupport.h"

#include <QAbstractButton>
#include <QAction>
#include <QCalendarWidget>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPushButton>
#include <QScreen>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// A caption, a button's text or a box: what a person reads and must see whole.
bool isRead(const QWidget* w) {
    if (auto* label = qobject_cast<const QLabel*>(w)) return !label->wordWrap();
    return qobject_cast<const QAbstractButton*>(w) || qobject_cast<const QComboBox*>(w) ||
           qobject_cast<const QLineEdit*>(w);
}

// Parts of other controls (a combo's own box, the calendar's buttons, a pane's title buttons)
// are their owners' business.
bool isPartOfAnother(const QWidget* w, const QWidget* window) {
    if (w->objectName().startsWith(u"qt_"_s)) return true;
    for (const QWidget* p = w->parentWidget(); p && p != window; p = p->parentWidget())
        if (qobject_cast<const QComboBox*>(p) || qobject_cast<const QCalendarWidget*>(p) ||
            qobject_cast<const QAbstractSpinBox*>(p))
            return true;
    return false;
}

// "name" of every shown control of `window` drawn smaller than it needs or reaching past the
// window's edge, and "title" when the window is narrower than its title's text.
QStringList cutParts(QWidget* window) {
    QStringList cut;
    for (QWidget* w : window->findChildren<QWidget*>()) {
        if (!w->isVisibleTo(window) || !isRead(w) || isPartOfAnother(w, window)) continue;
        const QSize need = w->minimumSizeHint();
        const QRect shown(w->mapTo(window, QPoint(0, 0)), w->size());
        if (w->width() < need.width() || w->height() < need.height() ||
            !window->rect().contains(shown))
            cut << u"%1 needs %2x%3, has %4x%5 at %6,%7"_s
                       .arg(w->objectName().isEmpty()
                                ? QString::fromUtf8(w->metaObject()->className())
                                : w->objectName())
                       .arg(need.width())
                       .arg(need.height())
                       .arg(w->width())
                       .arg(w->height())
                       .arg(shown.x())
                       .arg(shown.y());
    }
    QFont titleFont = QApplication::font();
    titleFont.setBold(true);
    if (QFontMetrics(titleFont).horizontalAdvance(window->windowTitle()) > window->width())
        cut << u"title at %1 wide"_s.arg(window->width());
    return cut;
}

class WindowFit : public testsupport::GuiTest {
protected:
    void SetUp() override {
        GuiTest::SetUp();
        QFont large = shippedFont_;
        large.setPointSizeF(shippedFont_.pointSizeF() * 1.5);
        QApplication::setFont(large);
        main_ = new frmMain;
        main_->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(main_));
    }

    void TearDown() override {
        delete main_;
        gConnected = false;
        frmKestrelMessage::instance()->close();
        QApplication::setFont(shippedFont_);
        GuiTest::TearDown();
    }

    QMdiSubWindow* searchWindow() const {
        return qobject_cast<QMdiSubWindow*>(main_->powerSearch()->parentWidget());
    }

    QTemporaryDir dir_;
    settings::SettingsFileOverride settingsFile_{dir_.filePath(u"tillsight.ini"_s)};
    const QFont shippedFont_ = QApplication::font();
    frmMain* main_ = nullptr;
};

} // namespace

TEST_F(WindowFit, TheMainWindowOpensShowingTheSearchViewAndItsPanelsWhole) {
    EXPECT_GE(main_->width(), 800);
    EXPECT_GE(main_->height(), 600);
    const QRect area = main_->mdiArea()->viewport()->rect();
    EXPECT_TRUE(area.contains(searchWindow()->geometry()))
        << area.width() << 'x' << area.height() << " holds " << searchWindow()->width() << 'x'
        << searchWindow()->height();
    EXPECT_EQ(cutParts(main_), QStringList());

    // The status panels grow the window as far as its screen allows.
    modMain::subFullConnect(*main_, testsupport::demoSite().path, 0);
    ASSERT_TRUE(gConnected);
    QApplication::processEvents();
    const QStringList cut = cutParts(main_);
    const bool screenWide =
        main_->frameGeometry().width() >= main_->screen()->availableGeometry().width();
    EXPECT_TRUE(cut.isEmpty() || screenWide) << cut.join(u", "_s).toStdString();
}

TEST_F(WindowFit, EveryTabOfTheSearchViewShowsItsControlsWhole) {
    frmPowerSearch* search = main_->powerSearch();
    for (int tab = 0; tab < search->tabReports->count(); ++tab) {
        search->tabReports->setCurrentIndex(tab);
        QApplication::processEvents();
        EXPECT_EQ(cutParts(search), QStringList()) << "tab " << tab;
    }
    const QSize fixed = search->size();
    search->resize(fixed + QSize(100, 100));
    EXPECT_EQ(search->size(), fixed);
}

TEST_F(WindowFit, TilingAndCascadingKeepTheSearchViewAtItsSizeAndReportButtonsWhole) {
    for (int i = 0; i < 3; ++i)
        main_->showChild(new frmReportOutput(main_));
    const QSize searchSize = searchWindow()->size();
    for (const QString& item : {u"mnuTileV"_s, u"mnuTileH"_s, u"mnuCascade"_s}) {
        main_->menuItem(item)->trigger();
        QApplication::processEvents();
        EXPECT_EQ(searchWindow()->size(), searchSize) << item.toStdString();
        for (QMdiSubWindow* w : main_->mdiArea()->subWindowList()) {
            auto* report = qobject_cast<frmReportOutput*>(w->widget());
            if (!report) continue;
            EXPECT_EQ(cutParts(report), QStringList()) << item.toStdString();
        }
    }
}

TEST_F(WindowFit, DialogsGrowToTheirCaptionsAndControls) {
    frmDVR dvr(main_);
    frmAbout about(&main_->session(), main_);
    frmProgressBar progress(main_);
    frmSites sites(main_->session(), main_->toolbar(), main_);
    frmPrintOption printing(main_);
    for (QDialog* dialog :
         std::initializer_list<QDialog*>{&dvr, &about, &progress, &sites, &printing}) {
        dialog->show();
        EXPECT_EQ(cutParts(dialog), QStringList()) << dialog->objectName().toStdString();
        dialog->hide();
    }
    sites.show();
    QTest::mouseClick(sites.findChild<QPushButton*>(u"cmdAdd"_s), Qt::LeftButton);
    EXPECT_EQ(cutParts(&sites), QStringList()) << "with the entry panel";

    modShared::subShowMessage(u"Error 5: the site did not answer"_s,
                              u"A banner rather longer than its message"_s);
    EXPECT_EQ(cutParts(frmKestrelMessage::instance()), QStringList());
}

TEST_F(WindowFit, TheDateDialogIsAsWideAsItsCaption) {
    QStringList cut;
    const auto previous = frmDateTime::setModalHandler([&cut](frmDateTime& dialog) {
        dialog.show();
        cut = cutParts(&dialog);
        dialog.hide();
    });
    frmDateTime& dialog = frmDateTime::instance(main_);
    dialog.Banner = u"Select start date and time"_s;
    dialog.showModal();
    frmDateTime::setModalHandler(previous);
    EXPECT_EQ(cut, QStringList());
}
