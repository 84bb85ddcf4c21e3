#include "MainWindowTest.h"

#include "app/frmAbout.h"
#include "shared/frmKestrelMessage.h"
#include "shared/frmProgressBar.h"
#include "shared/modShared.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>
#include <QTextEdit>
#include <QTimer>
#include <QVBoxLayout>
#include <QWindow>

using namespace Qt::Literals::StringLiterals;

namespace {

bool onTop(const QWidget& view) {
    return view.windowFlags().testFlag(Qt::WindowStaysOnTopHint);
}

using StatusPanelTest = testsupport::MainWindowTest;

TEST_F(StatusPanelTest, TextGainsATrailingBlankAndEmptyTextHidesThePanel) {
    QLabel* panel = main_->statusPanel(u"Dates"_s);
    ASSERT_NE(panel, nullptr);
    main_->subSetStatusPanel(u"Dates"_s, u"3/1/2003 - 3/28/2003"_s);
    EXPECT_FALSE(panel->isHidden());
    EXPECT_EQ(panel->text(), u"3/1/2003 - 3/28/2003 "_s);
    EXPECT_EQ(panel->toolTip(), u"3/1/2003 - 3/28/2003"_s);

    main_->subSetStatusPanel(u"Dates"_s, QString());
    EXPECT_TRUE(panel->isHidden());
    EXPECT_EQ(panel->text(), QString());
    EXPECT_EQ(panel->toolTip(), QString());

    main_->subSetStatusPanel(u"Dates"_s, u" - "_s);
    EXPECT_FALSE(panel->isHidden());
    EXPECT_EQ(panel->text(), u" -  "_s);
    EXPECT_EQ(panel->toolTip(), u" - "_s);
}

class SharedViewTest : public testsupport::GuiTest {
protected:
    void TearDown() override {
        frmKestrelMessage::instance()->close();
        GuiTest::TearDown();
    }
};

TEST_F(SharedViewTest, MessageViewKeepsWhatItShowsUntilReopened) {
    frmKestrelMessage* view = frmKestrelMessage::instance();
    modShared::subShowMessage(u"Error 5: first"_s, u"Link"_s);
    ASSERT_TRUE(view->isVisible());
    EXPECT_TRUE(onTop(*view));
    EXPECT_EQ(view->windowTitle(), u"Link"_s);
    EXPECT_EQ(view->shownMessage(), u"Error 5: first"_s);

    modShared::subShowMessage(u"Error 6: second"_s, u"Engine"_s);
    EXPECT_EQ(view->windowTitle(), u"Link"_s);
    EXPECT_EQ(view->shownMessage(), u"Error 5: first"_s);
    EXPECT_EQ(view->Banner(), u"Engine"_s);
    EXPECT_EQ(view->Message(), u"Error 6: second"_s);

    QTest::mouseClick(view->findChild<QPushButton*>(u"cmdOK"_s), Qt::LeftButton);
    EXPECT_FALSE(view->isVisible());
    EXPECT_FALSE(onTop(*view));
    EXPECT_EQ(view->Banner(), QString());
    EXPECT_EQ(view->Message(), QString());

    // An empty banner falls back to the application title.
    modShared::subShowMessage(u"Error 7: third"_s, QString());
    EXPECT_EQ(view->windowTitle(), core::applicationTitle());
    EXPECT_EQ(view->shownMessage(), u"Error 7: third"_s);
    EXPECT_TRUE(onTop(*view));
}

// The platform box itself, answered by pressing Enter on it; an empty title is the
// application's.
TEST_F(SharedViewTest, MessageBoxStyleChoosesButtonsIconAndDefault) {
    const auto previous = modShared::setMessageBoxHandler({});
    QStringList seen;
    QTimer::singleShot(0, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box) return;
        seen << box->windowTitle() << QString::number(box->icon())
             << QString::number(box->standardButtons())
             << QString::number(box->standardButton(box->defaultButton()));
        QTest::keyClick(box, Qt::Key_Return);
    });
    const int pressed = modShared::fncMessageBox(u"Replace?"_s, QString(),
                                                 modShared::vbYesNoCancel | modShared::vbQuestion |
                                                     modShared::vbDefaultButton2);
    modShared::setMessageBoxHandler(previous);

    EXPECT_EQ(pressed, modShared::vbNo);
    EXPECT_EQ(seen, (QStringList{
                        core::applicationTitle(), QString::number(QMessageBox::Question),
                        QString::number(QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel),
                        QString::number(QMessageBox::No)}));
}

// An always-on-top window stays above every window that does not belong to it: the box and the
// message view must belong to the window in front, or they open behind it.
TEST_F(SharedViewTest, BoxesAndTheMessageViewOpenOverTheWindowInFront) {
    QWidget window;
    window.setWindowTitle(u"In front"_s);
    modShared::subFormOnTop(&window);
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    EXPECT_EQ(modShared::fncOwnerWindow(), &window);

    const auto previous = modShared::setMessageBoxHandler({});
    QWidget* owner = nullptr;
    QWindow* transientFor = nullptr;
    int width = 0;
    QTimer::singleShot(0, [&] {
        QWidget* box = QApplication::activeModalWidget();
        if (!box) return;
        owner = box->parentWidget();
        width = box->width();
        transientFor = box->windowHandle() ? box->windowHandle()->transientParent() : nullptr;
        QTest::keyClick(box, Qt::Key_Return);
    });
    modShared::fncMessageBox(u"No Associated Camera"_s, QString(), modShared::vbOKOnly);
    modShared::setMessageBoxHandler(previous);
    EXPECT_EQ(owner, &window);
    EXPECT_EQ(transientFor, window.windowHandle());
    // A short text under the application title: the title is not cut.
    QFont titleFont = QApplication::font();
    titleFont.setBold(true);
    EXPECT_GT(width, QFontMetrics(titleFont).horizontalAdvance(core::applicationTitle()));

    frmKestrelMessage* view = frmKestrelMessage::instance();
    modShared::subShowMessage(u"Error 5: x"_s, u"y"_s);
    EXPECT_EQ(view->parentWidget(), &window);
    EXPECT_TRUE(view->isWindow());
    view->close();
}

TEST_F(SharedViewTest, MailLinkEncodesBlanksAndLineBreaksOnly) {
    QStringList opened;
    const auto previous = modShared::setMailLinkHandler([&](const QString& url) { opened << url; });
    modShared::subSendMailLink(nullptr, u"help desk@example.net"_s, u"Tillsight Bug Report"_s,
                               u"Line one\r\nLine\ttwo\nend\r"_s);
    modShared::subSendMailLink(nullptr, u"bugs@example.net"_s, u"Tillsight Support Request"_s,
                               QString());
    modShared::setMailLinkHandler(previous);
    EXPECT_EQ(opened, (QStringList{u"mailto:help desk@example.net?subject=Tillsight%20Bug%20Report"
                                   u"&body=Line%20one%0D%0ALine\ttwo\nend\r"_s,
                                   u"mailto:bugs@example.net?subject=Tillsight%20Support%20Request"
                                   u"&body="_s}));
}

TEST_F(SharedViewTest, OnTopKeepsTheWindowWhereItIs) {
    QWidget window;
    window.setGeometry(120, 90, 300, 200);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    const QRect placed = window.geometry();

    modShared::subFormOnTop(&window);
    EXPECT_TRUE(onTop(window));
    EXPECT_TRUE(window.windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(window.geometry(), placed);

    modShared::subFormNotOnTop(&window);
    EXPECT_FALSE(onTop(window));
    EXPECT_FALSE(window.windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_EQ(window.geometry(), placed);

    window.hide();
    modShared::subFormOnTop(&window);
    EXPECT_TRUE(onTop(window));
    EXPECT_FALSE(window.isVisible());
}

TEST_F(SharedViewTest, SelectAllMarksTheFocusedBoxAndMakesItATabStop) {
    QWidget window;
    auto* layout = new QVBoxLayout(&window);
    auto* line = new QLineEdit(u"Store 12"_s);
    auto* combo = new QComboBox();
    combo->setEditable(true);
    combo->setEditText(u"Refund"_s);
    auto* spin = new QSpinBox();
    spin->setValue(42);
    auto* text = new QTextEdit();
    text->setPlainText(u"two\nlines"_s);
    auto* button = new QPushButton(u"Go"_s);
    for (QWidget* control : std::initializer_list<QWidget*>{line, combo, spin, text, button}) {
        control->setFocusPolicy(Qt::ClickFocus);
        layout->addWidget(control);
    }
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));

    const auto selectedAfterFocus = [](QWidget* control, auto selection) {
        control->setFocus();
        modShared::subSelectAllText();
        EXPECT_TRUE(control->focusPolicy() & Qt::TabFocus) << control->metaObject()->className();
        return selection();
    };
    EXPECT_EQ(selectedAfterFocus(line, [&] { return line->selectedText(); }), u"Store 12"_s);
    EXPECT_EQ(selectedAfterFocus(combo, [&] { return combo->lineEdit()->selectedText(); }),
              u"Refund"_s);
    EXPECT_EQ(
        selectedAfterFocus(spin, [&] { return spin->findChild<QLineEdit*>()->selectedText(); }),
        u"42"_s);
    EXPECT_EQ(selectedAfterFocus(text, [&] { return text->textCursor().selectedText(); }),
              u"two\u2029lines"_s);
    // A control without text only becomes a tab stop.
    EXPECT_EQ(selectedAfterFocus(button, [&] { return button->text(); }), u"Go"_s);
}

TEST_F(SharedViewTest, ProgressWindowShowsThePercentage) {
    frmProgressBar progress;
    EXPECT_EQ(progress.objectName(), u"frmProgressBar"_s);
    EXPECT_TRUE(onTop(progress));
    progress.setPercent(37);
    EXPECT_EQ(progress.ProgressBar()->value(), 37);
    EXPECT_EQ(progress.ProgressBar()->text(), u"37 %"_s);
}

TEST_F(SharedViewTest, AboutShowsTitleAndVersion) {
    frmAbout about;
    const QString title = core::applicationTitle();
    EXPECT_EQ(about.windowTitle(), u"About "_s + title);
    EXPECT_TRUE(onTop(about));
    EXPECT_EQ(about.aboutText(),
              u"\r\n"_s + title + u"\r\n\r\nVersion "_s + core::versionText() + u"\r\n\r\n"_s);
    auto* box = about.findChild<QPlainTextEdit*>(u"txtAbout"_s);
    ASSERT_NE(box, nullptr);
    EXPECT_TRUE(box->isReadOnly());
    EXPECT_EQ(box->toPlainText(),
              u"\n"_s + title + u"\n\nVersion "_s + core::versionText() + u"\n\n"_s);

    about.show();
    QTest::mouseClick(about.findChild<QPushButton*>(u"cmdOK"_s), Qt::LeftButton);
    EXPECT_FALSE(about.isVisible());
    EXPECT_EQ(about.result(), QDialog::Accepted);
}

} // namespace
