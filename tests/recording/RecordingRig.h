// A station recording into a temporary folder, with a clock the test sets.
#pragma once

#include "Files.h"
#include "RecordingNotifier.h"
#include "recording/DataRecorder.h"
#include "station/Station.h"

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

// The station tells `other` instead of n when one is given.
struct RecordingRig
{
    explicit RecordingRig(const QString& sub = QString(), Notifier* other = nullptr)
        : st(other ? *other : n)
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
    Station st;
    DataRecorder rec{st};
    QDateTime now{QDate(2026, 11, 15), QTime(14, 5, 0)};
};
