#pragma once

#include <QDialog>

// The about box: program name, version and what the station is for.
class frmAbout : public QDialog
{
    Q_OBJECT
public:
    explicit frmAbout(QWidget* parent = nullptr);
};
