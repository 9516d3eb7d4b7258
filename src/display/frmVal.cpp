#include "display/frmVal.h"

#include <QLabel>
#include <QMouseEvent>
#include <QVBoxLayout>

namespace {
// Colour numbers keep red in the low byte.
QColor fromColorNumber(int n)
{
    return QColor(n & 0xFF, (n >> 8) & 0xFF, (n >> 16) & 0xFF);
}
} // namespace

frmVal::frmVal(QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint),
      label_(new QLabel(QStringLiteral("00.0"), this))
{
    setObjectName(QStringLiteral("frmVal"));
    setWindowTitle(QStringLiteral("Value"));
    label_->setObjectName(QStringLiteral("Label1"));
    label_->setAlignment(Qt::AlignCenter);
    QFont f = label_->font();
    f.setPointSize(18);
    f.setBold(true);
    label_->setFont(f);
    label_->installEventFilter(this);
    auto* lay = new QVBoxLayout(this);
    lay->setContentsMargins(8, 4, 8, 4);
    lay->addWidget(label_);
    setAutoFillBackground(true);
    applyBackColor();
    setToolTip(QStringLiteral("Latest reading, ppm. Drag to move."));
    resize(110, 44);
}

void frmVal::setValueText(const QString& text)
{
    valueText_ = text;
    refresh_.request();
}

void frmVal::showValueText()
{
    label_->setText(valueText_);
}

void frmVal::setBackColor(int colorNumber)
{
    // The alarm check sets the colour with every reading; only a change
    // touches the palettes.
    if (colorNumber == backColor_)
        return;
    backColor_ = colorNumber;
    applyBackColor();
}

void frmVal::applyBackColor()
{
    QPalette p = palette();
    p.setColor(QPalette::Window, fromColorNumber(backColor_));
    p.setColor(QPalette::WindowText, Qt::white);
    setPalette(p);
    label_->setPalette(p);
}

bool frmVal::press(QMouseEvent* e)
{
    if (e->button() != Qt::LeftButton)
        return false;
    pressed_ = true;
    pressPoint_ = e->globalPosition() - QPointF(pos());
    return true;
}

bool frmVal::drag(QMouseEvent* e)
{
    if (!pressed_ || !(e->buttons() & Qt::LeftButton))
        return false;
    move((e->globalPosition() - pressPoint_).toPoint());
    return true;
}

void frmVal::mousePressEvent(QMouseEvent* e)
{
    if (!press(e))
        QWidget::mousePressEvent(e);
}

void frmVal::mouseMoveEvent(QMouseEvent* e)
{
    if (!drag(e))
        QWidget::mouseMoveEvent(e);
}

bool frmVal::eventFilter(QObject* watched, QEvent* e)
{
    if (watched == label_) {
        if (e->type() == QEvent::MouseButtonPress)
            return press(static_cast<QMouseEvent*>(e));
        if (e->type() == QEvent::MouseMove)
            return drag(static_cast<QMouseEvent*>(e));
    }
    return QWidget::eventFilter(watched, e);
}
