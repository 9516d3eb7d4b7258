#pragma once

#include "recording/DataRecorder.h"

class QWidget;

// The file-open dialog behind DataRecorder::chooseFile:
//   recorder.chooseFile = fileDialogChooser(frame);
DataRecorder::FileChooser fileDialogChooser(QWidget* parent);

// A filter in "Text|patterns|Text|patterns" form as a file dialog's name
// filters: "Log Files (*.log);;All Files (*)". "*.*" stands for every file.
QString nameFilters(const QString& pairs);
