#pragma once

// The DVR connection method dialog: how report views reach the local video viewer, through its
// IPC server (the standard method, for most recorders) or with text commands over TCP. However
// it is closed, the choice becomes the program-wide method and is saved in the settings file;
// report views already open keep the method they started with.

#include <QDialog>

class QPushButton;
class QRadioButton;

class frmDVR : public QDialog {
    Q_OBJECT
public:
    explicit frmDVR(QWidget* parent = nullptr);

    // The option of method index: 0 standard, 1 text commands.
    QRadioButton* optMethod(int index) const;

    // OK, the close box and Escape all end here.
    void done(int result) override;

private:
    QRadioButton* optStandard_ = nullptr;
    QRadioButton* optDVMS_ = nullptr;
    QPushButton* cmdOK_ = nullptr;
};
