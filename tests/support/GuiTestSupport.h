#pragma once

// Widget tests: one application per test program (on the offscreen platform the test target
// sets), the client's own, so events fail as they fail in the program; message boxes answered by
// the test, the asterisk counted instead of played.

#include "app/Application.h"
#include "shared/modShared.h"

#include "support/VbTestSupport.h"

#include <QApplication>
#include <QStringList>

namespace testsupport {

inline void ensureApplication() {
    static int argc = 1;
    static char name[] = "tillsight-gui-test";
    static char* argv[] = {name, nullptr};
    if (!QApplication::instance()) new app::Application(argc, argv);
}

// Records every message box and asterisk while it lives; message boxes answer `answer`.
class GuiTest : public EnUsTest {
protected:
    static void SetUpTestSuite() { ensureApplication(); }

    void SetUp() override {
        EnUsTest::SetUp();
        previousBox_ = modShared::setMessageBoxHandler(
            [this](const QString& text, const QString& title, int style) {
                boxes << title + u'|' + text + u'|' + QString::number(style);
                return answer;
            });
        previousSound_ = modShared::setAsteriskHandler([this] { ++asterisks; });
    }

    void TearDown() override {
        modShared::setMessageBoxHandler(previousBox_);
        modShared::setAsteriskHandler(previousSound_);
    }

    QStringList boxes; // "title|text|style" of each message box shown
    int asterisks = 0;
    int answer = modShared::vbOK;

private:
    modShared::MessageBoxHandler previousBox_;
    modShared::SoundHandler previousSound_;
};

} // namespace testsupport
