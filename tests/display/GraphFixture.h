#pragma once

#include "RecordingNotifier.h"
#include "display/GraphTable.h"
#include "display/MyPict.h"
#include "display/frmOscil.h"
#include "station/Station.h"

#include <QImage>
#include <QLabel>
#include <QStringList>
#include <QTest>

// A station with a recording notifier and one graph window of N points per
// screen and the given full scale, shown at a fixed size when asked.
struct GraphFixture
{
    explicit GraphFixture(int n = 20, double scale = 1000, bool show = true)
    {
        w.SetScalesX(n);
        w.SetScalesY(scale);
        if (show) {
            w.resize(600, 400);
            w.show();
            QVERIFY(QTest::qWaitForWindowExposed(&w));
        }
    }

    void add(qint32 value)
    {
        w.newValue = value;
        w.SetNewPoint();
    }

    // The trace colour at pixel p of the picture (p in device-independent pixels).
    bool traceAt(const QImage& img, QPointF p) const
    {
        const qreal dpr = img.devicePixelRatio();
        const QPoint d((p * dpr).toPoint());
        if (!img.rect().contains(d))
            return false;
        return img.pixelColor(d) == QColor(0, 0, 0);
    }

    RecordingNotifier n;
    Station st{n};
    frmOscil w{st};
};

// Caption of Y label i of a graph window.
inline QString yLabel(const frmOscil& w, int i)
{
    return w.findChild<QLabel*>(QStringLiteral("lblY%1").arg(i))->text();
}

// A graph window stand-in for the graph table: it writes "<name> <call>" into a
// shared log, so that tests see which windows were reached and in what order.
struct FakeGraph : TrendGraph
{
    FakeGraph(QStringList& log, const QString& name) : log_(log), name_(name) {}
    bool SetNewPointA() override { return note("SetNewPointA"); }
    void SetLimit1Y(qint32) override { note("SetLimit1Y"); }
    void SetLimit2Y(qint32) override { note("SetLimit2Y"); }
    bool SetScalesX(int n) override { return note(QStringLiteral("SetScalesX %1").arg(n)); }
    bool SetScalesY(double v) override { return note(QStringLiteral("SetScalesY %1").arg(v)); }
    void setSynchro(bool on) override { note(QStringLiteral("setSynchro %1").arg(on)); }

    bool note(const QString& call)
    {
        log_ << name_ + QLatin1Char(' ') + call;
        return true;
    }
    QStringList& log_;
    QString name_;
};
