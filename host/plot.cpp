#include "host/plot.h"

#include "hearing/pitch.h"
#include "host/frame_maker.h"
#include "host/names.h"
#include "host/plot_page.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

namespace zorhost {

namespace {

constexpr int MostPages = 60;

std::string PageName(const std::string& path, int page) {
    const std::filesystem::path whole(path);
    const std::string name =
        whole.stem().string() + "-" + std::to_string(page) + whole.extension().string();
    return (whole.parent_path() / name).string();
}

} // namespace

std::string PlotFiles::Write(const Plot& plot) {
    const PlotScale scale(plot);
    const int pages = std::min(scale.Pages(), MostPages);
    WriteText(DrawPage(plot, scale, 0), First);
    for (int page = 1; page < pages; ++page) {
        OutputFile file(PageName(First.Path(), page + 1));
        WriteText(DrawPage(plot, scale, page), file);
    }
    const std::string more =
        " and " + std::to_string(pages - 1) + " more, to " + PageName(First.Path(), pages);
    return First.Path() + (pages > 1 ? more : "") +
           (scale.Pages() > pages ? ", of the first hour" : "");
}

} // namespace zorhost
