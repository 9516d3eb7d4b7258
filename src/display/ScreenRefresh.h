#pragma once

#include <QObject>
#include <QTimer>
#include <functional>

// What the windows show follows the readings at most once every kRefreshMs:
// request() asks for `show` to run once, kRefreshMs later, however often it
// is asked meanwhile. The readings themselves are held by the window at once;
// only the screen waits, so a fast analyzer costs one refresh, not one per
// reading.
class ScreenRefresh
{
public:
    static constexpr int kRefreshMs = 40;

    ScreenRefresh(QObject* owner, std::function<void()> show)
    {
        timer_.setSingleShot(true);
        timer_.setInterval(kRefreshMs);
        QObject::connect(&timer_, &QTimer::timeout, owner, std::move(show));
    }

    void request()
    {
        if (!timer_.isActive())
            timer_.start();
    }

private:
    QTimer timer_;
};
