#pragma once

#include <QDialog>

class QLineEdit;
class Station;

// "CUSTOMER ID": writes a user identifier of 14 characters into the analyzer
// and shows what the analyzer reads back.
class frmCUST : public QDialog
{
    Q_OBJECT
public:
    explicit frmCUST(Station& st, QWidget* parent = nullptr);

    void cmdSet_Click();

private:
    Station& st_;
    QLineEdit* txtCUSTN_ = nullptr;
    QLineEdit* txtNewID_ = nullptr;
};
