#pragma once

#include "FakeGraph.h"
#include "StationRig.h"
#include "display/MyPict.h"
#include "display/frmOscil.h"

#include <QImage>
#include <QLabel>
#include <QTest>

// A station with a recording notifier and one graph window of N points per
// screen and the given full scale, shown at a fixed size when asked.
struct GraphFixture : StationRig
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

    frmOscil w{st};
};

// Caption of Y label i of a graph window.
inline QString yLabel(const frmOscil& w, int i)
{
    return w.findChild<QLabel*>(QStringLiteral("lblY%1").arg(i))->text();
}
