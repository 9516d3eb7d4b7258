#pragma once

#include <QGuiApplication>
#include <QScreen>
#include <cmath>

// Window places are kept in twips (1/1440 inch): 15 twips per pixel at 96 dpi.
inline double twipsPerPixel()
{
    const QScreen* s = QGuiApplication::primaryScreen();
    const double dpi = s ? s->logicalDotsPerInch() : 96.0;
    return 1440.0 / (dpi > 0 ? dpi : 96.0);
}

inline int toTwips(int pixels)
{
    return int(std::lround(pixels * twipsPerPixel()));
}

inline int fromTwips(int twips)
{
    return int(std::lround(twips / twipsPerPixel()));
}
