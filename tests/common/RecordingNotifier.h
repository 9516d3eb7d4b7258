#pragma once

#include "station/Notifier.h"

#include <QList>
#include <QMap>
#include <QStringList>

// A notifier for tests: keeps every message, question and status text, and
// answers questions from a script (default: the first button offered).
class RecordingNotifier : public Notifier
{
public:
    void message(const QString& text, Icon = Icon::None) override { messages << text; }
    int ask(const QString& text, int buttons, Icon = Icon::Question) override
    {
        questions << text;
        if (!answers.isEmpty())
            return answers.takeFirst();
        for (int b = Ok; b <= Retry; b <<= 1) {
            if (buttons & b)
                return b;
        }
        return Ok;
    }
    void status(int panel, const QString& text) override
    {
        statuses << text;
        lastStatus[panel] = text;
    }

    QStringList messages;
    QStringList questions;
    QStringList statuses;
    QList<int> answers;
    QMap<int, QString> lastStatus;
};
