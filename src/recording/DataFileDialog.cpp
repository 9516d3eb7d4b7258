#include "recording/DataFileDialog.h"

#include <QFileDialog>
#include <QPointer>
#include <QRegularExpression>

QString nameFilters(const QString& pairs)
{
    const QStringList parts = pairs.split(QLatin1Char('|'));
    QStringList filters;
    static const QRegularExpression shownPatterns(QStringLiteral("\\s*\\([^()]*\\)\\s*$"));
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        QString text = parts[i];
        text.remove(shownPatterns); // the dialog shows the patterns it really uses
        QStringList patterns = parts[i + 1].split(QLatin1Char(';'), Qt::SkipEmptyParts);
        for (QString& p : patterns) {
            if (p == QLatin1String("*.*"))
                p = QStringLiteral("*");
        }
        filters << QStringLiteral("%1 (%2)").arg(text, patterns.join(QLatin1Char(' ')));
    }
    return filters.join(QLatin1String(";;"));
}

DataRecorder::FileChooser fileDialogChooser(QWidget* parent)
{
    return [owner = QPointer<QWidget>(parent)](const QString& title, const QString& filter,
                                               const QString& folder) {
        // An open dialog that also takes a new name; the replace question is
        // the recorder's.
        QFileDialog dlg(owner, title, folder, nameFilters(filter));
        dlg.setAcceptMode(QFileDialog::AcceptOpen);
        dlg.setFileMode(QFileDialog::AnyFile);
        dlg.setOption(QFileDialog::DontConfirmOverwrite);
        if (dlg.exec() != QDialog::Accepted || dlg.selectedFiles().isEmpty())
            return QString();
        return dlg.selectedFiles().constFirst();
    };
}
