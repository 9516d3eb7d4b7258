#pragma once

#include <QSet>
#include <QString>

class Notifier;
class QFile;

// Pushes a data file's records through to the disk. When the system can't
// (a network drive, a device that keeps nothing), the records are still
// written, but a power cut may take the last of them: the operator is told
// once per file, with the reason, and recording goes on.
class DiskSync
{
public:
    explicit DiskSync(Notifier& notifier) : notifier_(notifier) {}

    void sync(QFile& file);

private:
    Notifier& notifier_;
    QSet<QString> told_;
};
