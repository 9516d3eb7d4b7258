#include "app/frmPathA.h"

#include "station/IniFile.h"
#include "station/SettingsKeys.h"
#include "station/Station.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QGridLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QScreen>

namespace {
const QString kDeviceData = QStringLiteral("Device Data");

QString rowText(const QString& folder)
{
    return kDeviceData + QLatin1Char('\t') + folder;
}
} // namespace

frmPathA::frmPathA(Station& st, QWidget* parent) : QDialog(parent), st_(st)
{
    setObjectName(QStringLiteral("frmPathA"));
    setWindowTitle(QStringLiteral("Set Paths"));
    chooseFolder = [this](const QString& title, const QString& start) {
        return QFileDialog::getExistingDirectory(this, title, start);
    };

    lstPath_ = new QListWidget(this);
    lstPath_->setObjectName(QStringLiteral("lstPath"));
    lstPath_->setMinimumWidth(420);
    const QString folder = st_.dataFolder.isEmpty() ? QDir::currentPath() : st_.dataFolder;
    lstPath_->addItem(rowText(QDir::toNativeSeparators(folder)));
    lstPath_->setCurrentRow(0);

    auto* cmdChange = new QPushButton(QStringLiteral("C&hange"), this);
    cmdChange->setObjectName(QStringLiteral("cmdChange"));
    auto* cmdOK = new QPushButton(QStringLiteral("O&K"), this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    auto* cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));

    auto* lay = new QGridLayout(this);
    lay->addWidget(new QLabel(QStringLiteral("File Types: "), this), 0, 0);
    lay->addWidget(new QLabel(QStringLiteral("Poisitions: "), this), 0, 1);
    lay->addWidget(lstPath_, 1, 0, 1, 3);
    lay->addWidget(cmdChange, 2, 0);
    lay->addWidget(cmdOK, 2, 1);
    lay->addWidget(cmdCancel, 2, 2);

    connect(cmdChange, &QPushButton::clicked, this, &frmPathA::cmdChange_Click);
    connect(cmdOK, &QPushButton::clicked, this, &frmPathA::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(lstPath_, &QListWidget::itemDoubleClicked, this, &frmPathA::cmdChange_Click);

    adjustSize();
    if (const QScreen* s = screen()) {
        const QRect r = s->availableGeometry();
        move(r.x() + (r.width() - width()) / 2, r.y() + (r.height() - height()) / 2);
    }
}

void frmPathA::cmdChange_Click()
{
    const int row = lstPath_->currentRow();
    if (row != 0)
        return; // the list only ever holds the data-folder row
    const QString current = lstPath_->item(0)->text().section(QLatin1Char('\t'), 1);
    const QString chosen = chooseFolder(QStringLiteral("Select DB Path"), current);
    if (!chosen.isEmpty())
        lstPath_->item(0)->setText(rowText(QDir::toNativeSeparators(chosen)));
}

void frmPathA::cmdOK_Click()
{
    const QString folder = lstPath_->item(0)->text().section(QLatin1Char('\t'), 1);
    st_.dataFolder = folder;
    WriteIni(QLatin1String(Ini::SecPath), QLatin1String(Ini::IniPathDat), folder,
             QLatin1String(Ini::File));
    accept();
}
