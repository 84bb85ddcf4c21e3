#include "queries/DateField.h"

#include "vb/DateTime.h"
#include "vb/Format.h"
#include "vb/VbError.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QStyleOptionComboBox>
#include <QStylePainter>

using namespace Qt::Literals::StringLiterals;

namespace {

// The widest text a field shows, for its size: two-digit month, day, hour and so on.
double widestSample() {
    return vb::dateSerial(2000, 12, 28) + vb::timeSerial(23, 59, 59);
}

QString shownText(double serial, bool dateOnly) {
    try {
        QString text = vb::formatDate(serial, u"Short Date"_s);
        if (!dateOnly) text += u' ' + vb::formatDate(serial, u"HH:nn:ss"_s);
        return text;
    } catch (const vb::VbError&) {
        return QString();
    }
}

} // namespace

DateField::DateField(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setAttribute(Qt::WA_Hover);
}

void DateField::setValue(double serial) {
    value_ = serial;
    update();
}

void DateField::setDateOnly(bool dateOnly) {
    dateOnly_ = dateOnly;
    updateGeometry();
    update();
}

QString DateField::text() const {
    return shownText(value_, dateOnly_);
}

QString DateField::queryText() const {
    // Built from the calendar fields, not through Format, whose separators are the regional ones.
    const vb::DateParts p = vb::splitDate(value_);
    return QString::asprintf("%04d/%02d/%02d %02d:%02d:%02d", p.year, p.month, p.day, p.hour,
                             p.minute, p.second);
}

QSize DateField::sizeHint() const {
    QStyleOptionComboBox option;
    option.initFrom(this);
    const QSize text(fontMetrics().horizontalAdvance(shownText(widestSample(), dateOnly_)) + 8,
                     fontMetrics().height());
    return style()->sizeFromContents(QStyle::CT_ComboBox, &option, text, this);
}

QSize DateField::minimumSizeHint() const {
    return sizeHint();
}

void DateField::paintEvent(QPaintEvent*) {
    // Drawn as a drop-down box: the field opens a picker when clicked.
    QStylePainter painter(this);
    QStyleOptionComboBox option;
    option.initFrom(this);
    option.currentText = text();
    option.editable = false;
    if (pressed_) option.state |= QStyle::State_Sunken;
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}

void DateField::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return QWidget::mousePressEvent(event);
    pressed_ = true;
    update();
}

void DateField::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !pressed_) return QWidget::mouseReleaseEvent(event);
    pressed_ = false;
    update();
    if (rect().contains(event->position().toPoint())) emit clicked();
}

void DateField::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_F4:
        emit clicked();
        return;
    case Qt::Key_Down:
        if (event->modifiers() & Qt::AltModifier) {
            emit clicked();
            return;
        }
        break;
    default:
        break;
    }
    QWidget::keyPressEvent(event);
}
