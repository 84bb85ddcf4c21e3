// What escapes an event (a view's load, a grid's event, a timer in a nested event loop) ends the
// program as the language's runtime ends it: the run-time error box, then the end.

#include "../shared/MainWindowTest.h"

#include "recordset/RecordsetTestData.h"
#include "reports/frmReportOutput.h"

#include <QEventLoop>
#include <QTimer>
#include <stdexcept>

using namespace Qt::Literals::StringLiterals;

namespace {

class RunTimeErrors : public testsupport::MainWindowTest {
protected:
    void SetUp() override {
        MainWindowTest::SetUp();
        previousEnd_ = app::Application::setEndHandler([this](int code) { ends << code; });
    }
    void TearDown() override {
        app::Application::setEndHandler(previousEnd_);
        MainWindowTest::TearDown();
    }

    QList<int> ends;

private:
    app::Application::EndHandler previousEnd_;
};

TEST_F(RunTimeErrors, AViewThatFailsAsItLoadsShowsTheRunTimeBoxAndEndsTheProgram) {
    main_->show();
    auto* view = new frmReportOutput(main_);
    view->setRecordset(
        rstest::makeRecordset({{"Clerk", rs::AdoType::VarWChar}, {"Count", rs::AdoType::Integer}},
                              {{"maria", rstest::lng(3)}}));
    view->setGroupFirstN(3); // a third column to group by, on a set of two
    main_->showChild(view);
    EXPECT_EQ(boxes, QStringList{u"Tillsight Network Client|Run-time error '9':\n\n"
                                 u"Subscript out of range|16"_s});
    EXPECT_EQ(ends, QList<int>{EXIT_FAILURE});
}

TEST_F(RunTimeErrors, AFailureThatIsNotTheLanguagesShowsItsOwnTextFromANestedLoop) {
    QEventLoop nested;
    QTimer::singleShot(0, main_, [] { throw std::runtime_error("the disk is on fire"); });
    QTimer::singleShot(50, &nested, &QEventLoop::quit);
    nested.exec();
    EXPECT_EQ(boxes, QStringList{u"Tillsight Network Client|Run-time error '51':\n\n"
                                 u"the disk is on fire|16"_s});
    EXPECT_EQ(ends, QList<int>{EXIT_FAILURE});
}

} // namespace
