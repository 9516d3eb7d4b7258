#pragma once

#include <QRect>

class QWidget;

// Where windows go on the screens: whole on one of them, and the value
// window out of the way of the frame's menus, toolbar and scale boxes.

// `frame` (a window's outer rectangle) moved so that it lies whole on
// `available`, shrunk only where it is bigger; unchanged when it already does.
QRect keptOnScreen(const QRect& frame, const QRect& available);

// The value window's place when the settings hold none: beside the main
// frame on its right when there is room on the screen, else in the frame's
// lower right corner, clear of its menus, toolbars and the top of the graphs.
QPoint defaultValuePlace(const QRect& frame, const QSize& value, const QRect& available);

// The available area of the screen that holds most of `frame`, or of the
// primary screen when none does (a place saved on another computer).
QRect availableFor(const QRect& frame);

// Moves a shown top-level window, by its frame, whole onto its screen.
void keepOnScreen(QWidget* window);
