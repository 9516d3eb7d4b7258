#include "recording/frmRecord.h"

#include "recording/CsvExport.h"
#include "recording/DataRecord.h"
#include "recording/RecordPlot.h"
#include "station/IniFile.h"
#include "station/Notifier.h"
#include "station/SettingsKeys.h"
#include "station/Station.h"

#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHash>
#include <QLabel>
#include <QProgressDialog>
#include <QPushButton>
#include <QRegularExpression>
#include <QSaveFile>
#include <QThread>
#include <QTimer>
#include <QVBoxLayout>

namespace {

QString readKey(const QString& key)
{
    return ReadIni(QLatin1String(Ini::SecViewer), key, QLatin1String(Ini::File));
}

void writeKey(const QString& key, const QString& value)
{
    WriteIni(QLatin1String(Ini::SecViewer), key, value, QLatin1String(Ini::File));
}

QString plural(qint64 n, const char* one, const char* many)
{
    return QString::number(n) + QLatin1Char(' ') + QLatin1String(n == 1 ? one : many);
}

QString skippedText(qint64 n)
{
    return plural(n, "damaged line skipped", "damaged lines skipped");
}

// "14h15_11.dat, 15h15_11.dat", or "00h15_11.dat ... 23h15_11.dat (24 files)".
QString titleFor(const QStringList& paths)
{
    QStringList names;
    for (const QString& p : paths)
        names << QFileInfo(p).fileName();
    if (names.size() <= 3)
        return names.join(QLatin1String(", "));
    return names.first() + QStringLiteral(" … ") + names.last() +
           QStringLiteral(" (%1 files)").arg(names.size());
}
} // namespace

struct frmRecord::ExportJob
{
    QSaveFile out;
    CsvProgress progress;
    CsvResult result;
    explicit ExportJob(const QString& target) : out(target) {}
};

frmRecord::frmRecord(Station& st, QWidget* parent)
    : QWidget(parent, Qt::Window), st_(st), picRecord_(new RecordPlot(this)),
      cmdOpen_(new QPushButton(QStringLiteral("&Open..."), this)),
      cmdExport_(new QPushButton(QStringLiteral("Export &CSV..."), this)),
      cmdShowAll_(new QPushButton(QStringLiteral("Show &All"), this)),
      lblReadout_(new QLabel(this)), lblStatus_(new QLabel(this))
{
    setObjectName(QStringLiteral("frmRecord"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("Record"));
    cmdOpen_->setObjectName(QStringLiteral("cmdOpen"));
    cmdExport_->setObjectName(QStringLiteral("cmdExport"));
    cmdShowAll_->setObjectName(QStringLiteral("cmdShowAll"));
    lblReadout_->setObjectName(QStringLiteral("lblReadout"));
    lblStatus_->setObjectName(QStringLiteral("lblStatus"));
    lblStatus_->setWordWrap(true);
    lblStatus_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    cmdExport_->setEnabled(false);
    cmdShowAll_->setToolTip(QStringLiteral("Show everything (Home). Wheel: zoom; drag: zoom to "
                                           "a range; right drag or Shift+drag: pan"));

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdOpen_);
    buttons->addWidget(cmdExport_);
    buttons->addWidget(cmdShowAll_);
    buttons->addSpacing(12);
    buttons->addWidget(lblReadout_, 1);
    auto* lay = new QVBoxLayout(this);
    lay->addLayout(buttons);
    lay->addWidget(picRecord_, 1);
    lay->addWidget(lblStatus_);

    connect(cmdOpen_, &QPushButton::clicked, this, &frmRecord::cmdOpen_Click);
    connect(cmdExport_, &QPushButton::clicked, this, &frmRecord::cmdExport_Click);
    connect(cmdShowAll_, &QPushButton::clicked, picRecord_, &RecordPlot::showAll);
    connect(picRecord_, &RecordPlot::readoutChanged, lblReadout_, &QLabel::setText);
    connect(&poll_, &QTimer::timeout, this, &frmRecord::pollFiles);
    poll_.setInterval(kPollMs);

    chooseFiles = [this](const QString& folder, const QStringList& names) {
        QFileDialog d(isVisible() ? this : parentWidget(), QStringLiteral("Open Record"), folder,
                      QStringLiteral("Data Files (*.dat);;All Files (*)"));
        d.setFileMode(QFileDialog::ExistingFiles);
        if (!names.isEmpty())
            d.selectFile(QLatin1Char('"') + names.join(QLatin1String("\" \"")) + QLatin1Char('"'));
        return d.exec() == QDialog::Accepted ? d.selectedFiles() : QStringList();
    };
    chooseSaveFile = [this](const QString& suggested) {
        return QFileDialog::getSaveFileName(this, QStringLiteral("Export CSV"), suggested,
                                            QStringLiteral("CSV Files (*.csv);;All Files (*)"));
    };
    resize(1000, 600);
}

frmRecord::~frmRecord()
{
    // An export still running is stopped; its file is not kept.
    if (exportThread_) {
        export_->progress.cancel = true;
        exportThread_->wait();
        delete exportThread_;
        export_->out.cancelWriting();
        export_->out.commit();
    }
}

QString frmRecord::rememberedFolder()
{
    return readKey(QLatin1String(Ini::ViewerFolder));
}

QStringList frmRecord::rememberedFiles()
{
    const QDir folder(rememberedFolder());
    QStringList paths;
    const int n = readKey(QLatin1String(Ini::ViewerFiles)).toInt();
    for (int i = 1; i <= n; ++i) {
        const QString name = readKey(QLatin1String(Ini::ViewerFile) + QString::number(i));
        if (!name.isEmpty())
            paths << QDir::cleanPath(folder.absoluteFilePath(name));
    }
    return paths;
}

void frmRecord::remember(const QStringList& paths)
{
    const QDir folder(QFileInfo(paths.first()).absolutePath());
    writeKey(QLatin1String(Ini::ViewerFolder), QDir::toNativeSeparators(folder.absolutePath()));
    writeKey(QLatin1String(Ini::ViewerFiles), QString::number(paths.size()));
    for (int i = 0; i < paths.size(); ++i) {
        const QString rel = folder.relativeFilePath(paths[i]);
        writeKey(QLatin1String(Ini::ViewerFile) + QString::number(i + 1),
                 rel.startsWith(QLatin1String("..")) ? QFileInfo(paths[i]).absoluteFilePath()
                                                     : rel);
    }
}

bool frmRecord::cmdOpen_Click()
{
    // The dialog opens where the operator was last, with those files
    // selected; the first time in the station's data folder.
    QString folder = rememberedFolder();
    QStringList names;
    if (!folder.isEmpty() && QDir(folder).exists()) {
        for (const QString& p : rememberedFiles()) {
            if (QFileInfo(p).absolutePath() == QDir(folder).absolutePath())
                names << QFileInfo(p).fileName();
        }
    } else {
        folder = QDir(st_.dataFolder).exists() ? st_.dataFolder : QDir::homePath();
    }
    const QStringList paths = chooseFiles(folder, names);
    if (paths.isEmpty())
        return false;
    openFiles(paths);
    return true;
}

void frmRecord::openFiles(const QStringList& paths)
{
    poll_.stop();
    sources_.clear();
    picRecord_->clear();
    for (const QString& p : paths)
        addSource(p);
    setWindowTitle(QStringLiteral("Record — ") + titleFor(paths));
    if (!paths.isEmpty())
        remember(paths);
    readNew();
    picRecord_->showAll();
    cmdExport_->setEnabled(!paths.isEmpty());
    showStatus();
    poll_.start();
}

void frmRecord::addSource(const QString& path)
{
    Source s;
    s.reader = std::make_unique<RecordFile::Reader>(path);
    s.ok = s.reader->open();
    sources_.push_back(std::move(s));
}

QString frmRecord::nextHourFile(const QString& path)
{
    static const QRegularExpression hourly(
        QStringLiteral(R"(^(\d\d)h(\d\d)_(\d\d)(_A(\d{3}))?\.dat$)"),
        QRegularExpression::CaseInsensitiveOption);
    const QFileInfo info(path);
    const QRegularExpressionMatch m = hourly.match(info.fileName());
    if (!m.hasMatch())
        return {};
    const QDateTime modified = info.lastModified();
    const int year = modified.isValid() ? modified.date().year() : QDate::currentDate().year();
    const QDate day(year, m.captured(3).toInt(), m.captured(2).toInt());
    const int hour = m.captured(1).toInt();
    if (!day.isValid() || hour > 23)
        return {};
    const QDateTime next = QDateTime(day, QTime(hour, 0)).addSecs(3600);
    const QString name = m.captured(5).isEmpty()
                             ? DataRecord::dataFileName(next)
                             : DataRecord::lineFileName(next, m.captured(5).toInt());
    return info.dir().filePath(name);
}

bool frmRecord::followHours()
{
    QStringList open = files();
    bool added = false;
    // Only the newest file of a chain leads on; one already open is not opened twice.
    for (qsizetype i = 0; i < open.size(); ++i) {
        const QString next = nextHourFile(open[i]);
        if (next.isEmpty() || open.contains(next) || !QFileInfo::exists(next))
            continue;
        addSource(next);
        open << next;
        added = true;
    }
    if (added) {
        setWindowTitle(QStringLiteral("Record — ") + titleFor(open));
        remember(open);
    }
    return added;
}

bool frmRecord::readNew()
{
    picRecord_->setLimits(st_.limit1, st_.limit2);
    bool any = false;
    RecordFile::Record r;
    // File by file, so that no more than one file's new records wait here.
    const QDateTime now = QDateTime::currentDateTime();
    for (Source& s : sources_) {
        // A file left alone for a while is no longer being written: what
        // follows its last line end is a record cut short, not one on its way.
        if (s.ok && !s.finished &&
            QFileInfo(s.reader->path()).lastModified().msecsTo(now) > kSettledMs) {
            s.reader->finish();
            s.finished = true;
        }
        QHash<int, QVector<RecordFile::Record>> byAnalyzer;
        while (s.ok && s.reader->next(r))
            byAnalyzer[r.address].append(r);
        for (auto it = byAnalyzer.cbegin(); it != byAnalyzer.cend(); ++it)
            picRecord_->trace(it.key()).append(it.value());
        any = any || !byAnalyzer.isEmpty();
    }
    if (any)
        picRecord_->dataChanged();
    return any;
}

void frmRecord::pollFiles()
{
    int skippedBefore = 0;
    for (const Source& s : sources_)
        skippedBefore += s.ok ? s.reader->skipped() : 0;
    const bool followed = followHours();
    bool changed = readNew() || followed;
    for (const Source& s : sources_)
        skippedBefore -= s.ok ? s.reader->skipped() : 0;
    if (changed || skippedBefore != 0)
        showStatus();
}

QStringList frmRecord::files() const
{
    QStringList out;
    for (const Source& s : sources_)
        out << s.reader->path();
    return out;
}

QString frmRecord::statusText() const
{
    return lblStatus_->text();
}

void frmRecord::showStatus()
{
    // Each file's line; with many files the clean ones are summed up and
    // only those with damage or errors are named. The tooltip lists them all.
    QStringList all;
    QStringList troubled;
    qint64 records = 0;
    for (const Source& s : sources_) {
        const RecordFile::Reader& r = *s.reader;
        QString line = QFileInfo(r.path()).fileName() + QLatin1String(": ");
        if (!s.ok) {
            line += r.error().isEmpty() ? QStringLiteral("not a record file") : r.error();
            troubled << line;
        } else {
            line += plural(r.records(), "record", "records");
            records += r.records();
            if (r.skipped() > 0) {
                line += QLatin1String(", ") + skippedText(r.skipped());
                troubled << line;
            }
        }
        all << line;
    }
    QString text;
    if (all.size() <= 3) {
        text = all.join(QLatin1String("; "));
    } else {
        text =
            plural(records, "record", "records") + QStringLiteral(" in %1 files").arg(all.size());
        if (!troubled.isEmpty())
            text += QLatin1String("; ") + troubled.join(QLatin1String("; "));
    }
    lblStatus_->setText(text);
    lblStatus_->setToolTip(all.join(QLatin1Char('\n')));
}

void frmRecord::cmdExport_Click()
{
    const QStringList paths = files();
    if (paths.isEmpty() || export_)
        return;
    const QFileInfo first(paths.first());
    const QString target = chooseSaveFile(
        first.absoluteDir().filePath(first.completeBaseName() + QLatin1String(".csv")));
    if (target.isEmpty())
        return;
    // Written to a temporary file and renamed at the end: a failed or
    // cancelled export leaves no half file behind, nor spoils one that was there.
    auto job = std::make_shared<ExportJob>(target);
    if (!job->out.open(QIODevice::WriteOnly)) {
        st_.notifier().message(QStringLiteral("Can't write %1: %2")
                                   .arg(QDir::toNativeSeparators(target), job->out.errorString()),
                               Notifier::Icon::Exclamation);
        return;
    }
    // A day or more of files takes a while: the export runs on a thread of
    // its own, with a progress bar and Cancel, and the window stays live.
    export_ = job;
    cmdExport_->setEnabled(false);
    auto* dlg =
        new QProgressDialog(QStringLiteral("Exporting %1...").arg(QFileInfo(target).fileName()),
                            QStringLiteral("Cancel"), 0, 1000, this);
    dlg->setObjectName(QStringLiteral("dlgExport"));
    dlg->setWindowModality(Qt::NonModal);
    dlg->setMinimumDuration(500);
    dlg->setAutoClose(false);
    dlg->setAutoReset(false);
    auto* tick = new QTimer(dlg);
    connect(tick, &QTimer::timeout, dlg, [dlg, job] {
        const qint64 total = job->progress.total;
        dlg->setValue(total > 0 ? int(job->progress.done * 1000 / total) : 0);
    });
    tick->start(100);
    connect(dlg, &QProgressDialog::canceled, this, [job] { job->progress.cancel = true; });
    exportThread_ =
        QThread::create([job, paths] { job->result = exportCsv(paths, job->out, &job->progress); });
    connect(exportThread_, &QThread::finished, this, [this, dlg, target] {
        dlg->deleteLater();
        exportThread_->deleteLater();
        exportThread_ = nullptr;
        finishExport(target);
    });
    exportThread_->start();
}

void frmRecord::finishExport(const QString& target)
{
    const std::shared_ptr<ExportJob> job = std::move(export_);
    cmdExport_->setEnabled(!sources_.empty());
    if (job->result.cancelled) {
        job->out.cancelWriting();
        job->out.commit();
        lblStatus_->setText(
            QStringLiteral("Export to %1 cancelled").arg(QFileInfo(target).fileName()));
        return;
    }
    if (!job->out.commit()) {
        st_.notifier().message(QStringLiteral("Can't write %1: %2")
                                   .arg(QDir::toNativeSeparators(target), job->out.errorString()),
                               Notifier::Icon::Exclamation);
        return;
    }
    const CsvResult& r = job->result;
    QString text = QStringLiteral("Exported %1 to %2")
                       .arg(plural(r.rows, "row", "rows"), QFileInfo(target).fileName());
    if (r.skipped > 0)
        text += QLatin1String(", ") + skippedText(r.skipped);
    if (!r.errors.isEmpty())
        text += QLatin1String("; ") + r.errors.join(QLatin1String("; "));
    lblStatus_->setText(text);
}
