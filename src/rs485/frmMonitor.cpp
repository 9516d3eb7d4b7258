#include "rs485/frmMonitor.h"

#include "rs485/LineMonitor.h"
#include "station/Station.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

frmMonitor::frmMonitor(Station& st, QWidget* parent) : QWidget(parent), st_(st)
{
    setObjectName(QStringLiteral("frmMonitor"));
    setWindowTitle(QStringLiteral("Line Monitor"));
    text_ = new QPlainTextEdit(this);
    text_->setObjectName(QStringLiteral("txtFrames"));
    text_->setReadOnly(true);
    text_->setMaximumBlockCount(LineMonitor::kCapacity);
    QFont mono(QStringLiteral("monospace"));
    mono.setStyleHint(QFont::TypeWriter);
    text_->setFont(mono);
    auto* clear = new QPushButton(QStringLiteral("C&lear"), this);
    clear->setObjectName(QStringLiteral("cmdClear"));
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(clear);
    auto* lay = new QVBoxLayout(this);
    lay->addWidget(text_);
    lay->addLayout(buttons);
    resize(620, 360);

    connect(clear, &QPushButton::clicked, this, [this] {
        LineMonitor::of(st_).clear();
        text_->clear();
        shown_ = 0;
        droppedSeen_ = 0;
    });
    // Frames come in bursts: the text follows a few times a second.
    refresh_.setSingleShot(true);
    refresh_.setInterval(200);
    connect(&refresh_, &QTimer::timeout, this, &frmMonitor::refresh);
    connect(&LineMonitor::of(st_), &LineMonitor::frameAdded, this, [this] {
        if (!refresh_.isActive())
            refresh_.start();
    });
    refresh();
}

void frmMonitor::refresh()
{
    const LineMonitor& m = LineMonitor::of(st_);
    // Frames the monitor dropped since the last refresh shift what was shown.
    shown_ = qMax<qsizetype>(0, shown_ - (m.dropped() - droppedSeen_));
    droppedSeen_ = m.dropped();
    const QList<LineMonitor::Frame>& frames = m.frames();
    for (qsizetype i = shown_; i < frames.size(); ++i)
        text_->appendPlainText(LineMonitor::describe(frames[i]));
    shown_ = frames.size();
}
