#include "app/frm_txt.h"

#include <QPlainTextEdit>
#include <QVBoxLayout>

namespace {
const char kHelp[] =
    "Velmora - CH4 / CO2 monitoring station\n"
    "\n"
    "Mode > Run starts reading the analyzer on the serial port; Mode > Stop ends it.\n"
    "Set > Com Port chooses the port (COM number or a device) and the polling period.\n"
    "Set > Path chooses the folder for the data files.\n"
    "Set > Alarm sets the two thresholds, in ppm x10.\n"
    "File > Run Saving records every reading to hourly .dat files and daily .txt files;\n"
    "File > End Saving stops recording.\n"
    "File > Save Config keeps the window layout, scales and thresholds in Tervala.ini;\n"
    "File > Load PreSet restores the preset layout and thresholds 50 / 80.\n"
    "The send line beside the command buttons sends any text, followed by CR, with Send.\n"
    "\n"
    "F1 shows this text.";
} // namespace

frm_txt::frm_txt(QWidget* parent) : QWidget(parent, Qt::Tool), txt_(new QPlainTextEdit(this))
{
    setObjectName(QStringLiteral("frm_txt"));
    setWindowTitle(QStringLiteral("Text"));
    txt_->setObjectName(QStringLiteral("txtText"));
    txt_->setReadOnly(true);
    auto* lay = new QVBoxLayout(this);
    lay->setContentsMargins(2, 2, 2, 2);
    lay->addWidget(txt_);
    resize(420, 200);
}

void frm_txt::setText(const QString& text)
{
    txt_->setPlainText(text);
}

QString frm_txt::text() const
{
    return txt_->toPlainText();
}

void frm_txt::showHelp()
{
    setWindowTitle(QStringLiteral("Contents"));
    setText(QLatin1String(kHelp));
    show();
    raise();
}
