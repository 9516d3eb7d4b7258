#include "recording/DiskSync.h"

#include "platform/Platform.h"
#include "station/Notifier.h"

#include <QFile>

void DiskSync::sync(QFile& file)
{
    QString why;
    if (platform::syncFile(file, &why) || told_.contains(file.fileName()))
        return;
    told_.insert(file.fileName());
    notifier_.note(QStringLiteral("%1 can't be synced to the disk: %2").arg(file.fileName(), why));
}
