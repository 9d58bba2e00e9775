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

void PlotFiles::Write(const Plot& plot) {
    const PlotScale scale(plot);
    const int pages = std::min(scale.Pages(), MostPages);
    WriteText(DrawPage(plot, scale, 0), First);
    for (int page = 1; page < pages; ++page) {
        OutputFile file(PageName(First.Path(), page + 1));
        WriteText(DrawPage(plot, scale, page), file);
    }
    std::printf("Wrote the picture %s", First.Path().c_str());
    if (pages > 1) {
        std::printf(" and %d more, to %s", pages - 1, PageName(First.Path(), pages).c_str());
    }
    std::printf("%s\n", scale.Pages() > pages ? ", of the first hour" : "");
}

} // namespace zorhost
