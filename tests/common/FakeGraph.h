#pragma once

#include "display/GraphTable.h"

#include <QStringList>

// A graph window stand-in for the graph table: it writes "<name> <call>" into a
// shared log, so that tests see which windows were reached and in what order.
struct FakeGraph : TrendGraph
{
    FakeGraph(QStringList& log, const QString& name) : log_(log), name_(name) {}
    bool SetNewPointA() override { return note(QStringLiteral("SetNewPointA")); }
    void SetLimit1Y(qint32 v) override { note(QStringLiteral("SetLimit1Y %1").arg(v)); }
    void SetLimit2Y(qint32 v) override { note(QStringLiteral("SetLimit2Y %1").arg(v)); }
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
