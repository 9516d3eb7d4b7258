// frmOscil: the limit lines and the cursor read-out.
#include "display/MyPict.h"
#include "display/PictLine.h"
#include "display/frmOscil.h"

#include <QCheckBox>
#include <QLocale>
#include <cmath>

void frmOscil::placeLimit(PictLine* line, double y)
{
    line->setLine(0, y, pointsPerScreen(), y);
    line->show();
}

void frmOscil::SetLimit1Y(qint32 limit)
{
    limit1_ = limit;
    placeLimit(lnY1_, chkLog_->isChecked() ? double(Log10(limit)) : double(limit));
}

void frmOscil::SetLimit2Y(qint32 limit)
{
    limit2_ = limit;
    placeLimit(lnY2_, chkLog_->isChecked() ? double(Log10(limit)) : double(limit));
}

void frmOscil::SetLimit1YLog(float limit)
{
    placeLimit(lnY1_, double(Log10(limit)));
}

void frmOscil::SetLimit2YLog(float limit)
{
    // Unlike SetLimit1YLog this takes the limit as it is, without the logarithm;
    // callers rely on the difference.
    placeLimit(lnY2_, double(limit));
}

namespace {
QString dateTimeText(double oleDate)
{
    const QDateTime t = fromOleDate(oleDate);
    const QLocale locale = QLocale::system();
    return locale.toString(t.date(), QLocale::ShortFormat) + QLatin1Char(' ') +
           t.time().toString(QStringLiteral("HH:mm:ss"));
}
} // namespace

void frmOscil::pictMouseMoved(QPointF pos)
{
    if (!cursorOption) {
        lnCursor_->hide();
        return;
    }
    const GraphAxes& axes = pict_->axes();
    const double x = pict_->mapping().dataX(pos.x());
    lnCursor_->setLine(x, axes.yBottom, x, axes.yTop);
    lnCursor_->show();
    const long i = std::lround(x);
    // Right of the trace's end there is nothing to read.
    if (i < 0 || i >= pointCount())
        return;
    Q_EMIT cursorText(QStringLiteral("CH4(ppm)=") + QString::number(arrays_.value(int(i))) +
                      QStringLiteral(" (") + dateTimeText(arrays_.time(int(i))) + QLatin1Char(')'));
}

void frmOscil::pictMouseLeft()
{
    lnCursor_->hide();
}
