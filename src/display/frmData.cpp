#include "display/frmData.h"

#include "link/ProcessReply.h"

#include <QFontMetrics>
#include <QLabel>
#include <QVBoxLayout>

frmData::frmData(QWidget* parent)
    : QWidget(parent), lblValue_(new QLabel(QStringLiteral("--.-"), this)),
      lblUnit_(new QLabel(QStringLiteral("CH4, ppm"), this))
{
    setObjectName(QStringLiteral("frmData"));
    setWindowTitle(QStringLiteral("Digital"));
    lblValue_->setObjectName(QStringLiteral("lblValue"));
    lblValue_->setAlignment(Qt::AlignCenter);
    lblUnit_->setObjectName(QStringLiteral("lblUnit"));
    lblUnit_->setAlignment(Qt::AlignCenter);
    QPalette p = palette();
    p.setColor(QPalette::Window, Qt::black);
    p.setColor(QPalette::WindowText, QColor(0x40, 0xff, 0x40));
    setPalette(p);
    setAutoFillBackground(true);
    auto* lay = new QVBoxLayout(this);
    lay->addWidget(lblValue_, 1);
    lay->addWidget(lblUnit_);
    resize(360, 200);
}

void frmData::showValue(double raw)
{
    raw_ = raw;
    refresh_.request();
}

void frmData::showLatest()
{
    lblValue_->setText(FormatVal(raw_));
    fitFont();
}

QString frmData::valueText() const
{
    return lblValue_->text();
}

void frmData::resizeEvent(QResizeEvent* e)
{
    QWidget::resizeEvent(e);
    fitFont();
}

void frmData::fitFont()
{
    // The largest bold font whose figures fit the label, with a margin.
    QFont f = lblValue_->font();
    f.setBold(true);
    const QString sample =
        lblValue_->text().size() < 4 ? QStringLiteral("00.0") : lblValue_->text();
    const QSize room = lblValue_->size() * 0.85;
    int size = qMax(8, room.height());
    f.setPixelSize(size);
    while (size > 8) {
        const QFontMetrics m(f);
        if (m.horizontalAdvance(sample) <= room.width() && m.height() <= room.height())
            break;
        size = size * 9 / 10;
        f.setPixelSize(size);
    }
    lblValue_->setFont(f);
}
