// One page of a plot.
#pragma once

#include "host/plot.h"

#include <string>

namespace zorhost {

// What all pages share, so that they can be laid side by side.
class PlotScale {
public:
    explicit PlotScale(const Plot& plot);

    int Pages() const;

    double PixelsPerSecond;
    double RowSeconds; // of one row across the page
    double Seconds;    // of the sound
    int Rows;          // on a page
    int Low = 127;     // keys
    int High = 0;
    double KeyHeight; // pixels

private:
    void FindKeys(const Transcript& transcript);
};

// page counts from 0.
std::string DrawPage(const Plot& plot, const PlotScale& scale, int page);

} // namespace zorhost
