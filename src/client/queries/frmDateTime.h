#pragma once

// The date dialog: a calendar and a time picker. The caller sets Banner, DateTime and, for a day
// without a time, HideClock, shows it modal, then reads Cancel and DateTime. One instance serves
// every request; the properties keep their values after it closes so the caller can read them.

#include <QDialog>
#include <QString>
#include <functional>

class QCalendarWidget;
class QPushButton;
class QTimeEdit;

class frmDateTime : public QDialog {
    Q_OBJECT
public:
    // The one dialog, made on first use over `owner`'s window, and going with it.
    static frmDateTime& instance(QWidget* owner = nullptr);

    // Loads the dialog from the properties, shows it modal and unloads it when it closes.
    void showModal();

    // Properties.
    QString Banner;         // the caption; empty gives "Select Date and Time"
    bool HideClock = false; // a date without a time; reset when the dialog unloads
    double DateTime = 0.0;  // a date serial, in and out
    bool Cancel = false;    // after closing: true unless it was closed with OK

    void cmdOK_Click();
    void cmdCancel_Click();

    QCalendarWidget* calCalendar = nullptr;
    QTimeEdit* DTPicker = nullptr;
    QPushButton* cmdOK = nullptr;
    QPushButton* cmdCancel = nullptr;

    // Seam for tests: when set, it is called with the loaded dialog instead of waiting for a
    // person, and it closes the dialog (or leaves it, which counts as closing it some other way).
    // Returns the previous handler; an empty one restores the real modal loop.
    using ModalHandler = std::function<void(frmDateTime& dialog)>;
    static ModalHandler setModalHandler(ModalHandler handler);

private:
    explicit frmDateTime(QWidget* parent);
    void Form_Load();
    void Form_Unload();
    // Places the controls with or without the time picker.
    void subArrange(bool withClock);
};
