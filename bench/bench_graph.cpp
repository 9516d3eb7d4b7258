// Measures the trend graph against its budgets: time per SetNewPoint, time of
// a full redraw of 24000 points, and resident memory of 256 hidden graph
// windows of 24000 points each.
#include "display/MyPict.h"
#include "display/TraceRender.h"
#include "display/frmOscil.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <cstdio>
#include <memory>
#include <vector>

namespace {
constexpr int kPoints = 24000;

// Resident set size of this process in bytes (Linux), 0 where unknown.
qint64 residentBytes()
{
    QFile f(QStringLiteral("/proc/self/status"));
    if (!f.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : f.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLongLong() * 1024;
    }
    return 0;
}

// A reading that wanders, so that segments have real length.
qint32 reading(int i)
{
    return 500 + (i * 37 % 400) - (i / 3 % 150);
}

void timeSetNewPoint(Station& st)
{
    frmOscil w(st);
    w.resize(1400, 800);
    w.show();
    QCoreApplication::processEvents();
    w.SetScalesX(kPoints);
    const int calls = 5 * kPoints; // five shifts
    qint64 pointNs = 0;
    qint64 redrawNs = 0;
    int redraws = 0;
    QElapsedTimer t;
    for (int i = 0; i < calls; ++i) {
        w.newValue = reading(i);
        t.start();
        w.SetNewPoint();
        pointNs += t.nsecsElapsed();
        if (w.pointCount() == kPoints * 4 / 5 + 1) {
            // A shift asked for a full redraw; paint it as the screen would.
            t.start();
            (void)w.picture()->image();
            redrawNs += t.nsecsElapsed();
            ++redraws;
        }
    }
    std::printf("SetNewPoint (incremental segment into the image): %.2f us per call "
                "(%d calls, budget 20 us)\n",
                pointNs / 1000.0 / calls, calls);
    std::printf("  full redraw after each of %d shifts: %.2f ms on average\n", redraws,
                redraws ? redrawNs / 1e6 / redraws : 0.0);

    // The same with the strip repainted on screen after every point.
    t.start();
    const int shown = 20000;
    for (int i = 0; i < shown; ++i) {
        w.newValue = reading(i);
        w.SetNewPoint();
        QCoreApplication::processEvents();
    }
    std::printf("SetNewPoint + repaint of its strip: %.2f us per point (%d points)\n",
                t.nsecsElapsed() / 1000.0 / shown, shown);
}

void timeFullRedraw(Station& st)
{
    SampleArrays a(kPoints);
    for (int i = 0; i < kPoints; ++i)
        a.addPoint(reading(i), 0, st.notifier());
    for (qreal dpr : {1.0, 2.0}) {
        const QSizeF size(1400, 800);
        QImage img((size * dpr).toSize(), QImage::Format_RGB32);
        img.setDevicePixelRatio(dpr);
        const GraphMapping m(GraphAxes::linear(kPoints, 1000), size);
        const int rounds = 20;
        QElapsedTimer t;
        t.start();
        for (int r = 0; r < rounds; ++r)
            TraceRender::draw(img, m, &a, {});
        std::printf("full redraw of %d points, %gx%g at pixel ratio %g: %.2f ms "
                    "(budget 10 ms)\n",
                    kPoints, size.width(), size.height(), dpr, t.nsecsElapsed() / 1e6 / rounds);
    }
}

void measureMemory(Station& st)
{
    const qint64 before = residentBytes();
    std::vector<std::unique_ptr<frmOscil>> windows;
    qint64 arrayBytes = 0;
    for (int g = 0; g < 256; ++g) {
        auto w = std::make_unique<frmOscil>(st);
        w->SetScalesX(kPoints);
        for (int i = 0; i < kPoints; ++i) {
            w->newValue = reading(i + g);
            w->SetNewPoint();
        }
        arrayBytes += qint64(w->arrays().values().bytes() + w->arrays().times().size() * 8);
        windows.push_back(std::move(w));
    }
    const qint64 after = residentBytes();
    std::printf("256 hidden graph windows of %d points: arrays %.1f MB, resident memory "
                "grew by %.1f MB (%.2fx the arrays; budget 2x), process total %.1f MB\n",
                kPoints, arrayBytes / 1048576.0, (after - before) / 1048576.0,
                double(after - before) / double(arrayBytes), after / 1048576.0);
}
} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // results appear as they are measured
    QApplication app(argc, argv);
    HeadlessNotifier notifier;
    Station st(notifier);
    timeSetNewPoint(st);
    timeFullRedraw(st);
    measureMemory(st);
    return 0;
}
