#include "app/ScreenPlace.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <algorithm>

QRect keptOnScreen(const QRect& frame, const QRect& available)
{
    if (available.isEmpty() || available.contains(frame))
        return frame;
    QRect r(frame.topLeft(), QSize(std::min(frame.width(), available.width()),
                                   std::min(frame.height(), available.height())));
    // The right and bottom edges first, so that the top-left corner (the
    // title bar and the menus) wins when both can't be met.
    if (r.right() > available.right())
        r.moveRight(available.right());
    if (r.bottom() > available.bottom())
        r.moveBottom(available.bottom());
    if (r.left() < available.left())
        r.moveLeft(available.left());
    if (r.top() < available.top())
        r.moveTop(available.top());
    return r;
}

QPoint defaultValuePlace(const QRect& frame, const QSize& value, const QRect& available)
{
    constexpr int kGap = 8;
    const QPoint beside(frame.right() + 1 + kGap, frame.top() + frame.height() / 4);
    if (available.contains(QRect(beside, value)))
        return beside;
    // Inside the frame, over the lower right of the graph area.
    const QPoint corner(frame.right() - value.width() - 3 * kGap,
                        frame.bottom() - value.height() - 6 * kGap);
    return keptOnScreen(QRect(corner, value), available).topLeft();
}

QRect availableFor(const QRect& frame)
{
    const QScreen* best = nullptr;
    qint64 bestArea = 0;
    for (const QScreen* s : QGuiApplication::screens()) {
        const QRect common = s->availableGeometry().intersected(frame);
        const qint64 area = qint64(common.width()) * common.height();
        if (area > bestArea) {
            best = s;
            bestArea = area;
        }
    }
    if (!best)
        best = QGuiApplication::primaryScreen();
    return best ? best->availableGeometry() : QRect();
}

void keepOnScreen(QWidget* window)
{
    const QRect frame = window->frameGeometry();
    const QRect kept = keptOnScreen(frame, availableFor(frame));
    if (kept == frame)
        return;
    // The frame's margins stay as they are; the client area follows.
    const QMargins margins(
        window->geometry().left() - frame.left(), window->geometry().top() - frame.top(),
        frame.right() - window->geometry().right(), frame.bottom() - window->geometry().bottom());
    if (kept.size() != frame.size())
        window->resize(kept.size().shrunkBy(margins));
    window->move(kept.topLeft());
}
