// A station recording into a temporary folder, with a clock the test sets.
#pragma once

#include "RecordingNotifier.h"
#include "recording/DataRecorder.h"
#include "station/Station.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <functional>

// Runs a hook before each question is answered: the test mends the fault there.
class HookedNotifier : public RecordingNotifier
{
public:
    int ask(const QString& text, int buttons, Icon icon) override
    {
        if (onAsk)
            onAsk();
        return RecordingNotifier::ask(text, buttons, icon);
    }
    // With `hold`, a question that does not wait stays open until the test
    // answers it through `open`, as an operator would.
    void askLater(const QString& text, int buttons, const Answer& answered, Icon icon) override
    {
        if (!hold)
            return RecordingNotifier::askLater(text, buttons, answered, icon);
        questions << text;
        open << answered;
    }
    std::function<void()> onAsk;
    bool hold = false;
    QList<Answer> open;
};

inline QByteArray contents(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

struct RecordingRig
{
    explicit RecordingRig(const QString& sub = QString())
    {
        st.dataFolder = sub.isEmpty() ? dir.path() : dir.filePath(sub);
        QDir().mkpath(st.dataFolder);
        rec.clock = [this] { return now; };
    }
    QString path(const QString& name) const
    {
        return name.isEmpty() ? st.dataFolder : QDir(st.dataFolder).filePath(name);
    }
    QByteArray file(const QString& name) const { return contents(path(name)); }

    QTemporaryDir dir;
    HookedNotifier n;
    Station st{n};
    DataRecorder rec{st};
    QDateTime now{QDate(2026, 11, 15), QTime(14, 5, 0)};
};
