#pragma once

// The printing option dialog: whether printing shows a preview first. There is no Cancel: however
// it is closed, the box's state becomes the program-wide option and is saved in the settings file.
// Report views read the option at each print, so one already open follows the change.

#include <QDialog>

class QCheckBox;

class frmPrintOption : public QDialog {
    Q_OBJECT
public:
    explicit frmPrintOption(QWidget* parent = nullptr);

    QCheckBox* chkEnablePreview() const { return chkEnablePreview_; }

    // OK, the close box and Escape all end here.
    void done(int result) override;

private:
    QCheckBox* chkEnablePreview_ = nullptr;
};
