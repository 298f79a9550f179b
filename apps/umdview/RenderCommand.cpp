#include "Commands.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>

#include <unistd.h>

#include "Output.h"
#include "Progress.h"
#include "Reader.h"
#include "common/Book.h"
#include "common/Chapters.h"
#include "common/Failure.h"
#include "common/SavedPlace.h"
#include "common/TextSurvey.h"

namespace umdview {

using namespace umdhost;

namespace {

void MakeFolder(const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        throw Failure(folder, error.message());
}

// "screen-0001.png"
std::string FileName(long screen, const RenderOptions& options) {
    char number[24];
    std::snprintf(number, sizeof(number), "%04ld", screen);
    return std::string("screen-") + number + "." + options.format;
}

// Why part of a book's text cannot be shown.
void ReportDamage(const std::string& book) {
    for (const std::string& warning : SurveyText(Book(book)).warnings)
        Report(book, "damaged: " + warning);
}

// How far paging has come.
struct Drawn {
    long lastShown = 0; // number of the last screen that was shown
    bool toTheEnd = false;
    std::map<long, int> gaps; // by the screen before each: bytes of text that could not be shown
};

// Where drawing begins.
Place FirstPlace(const RenderOptions& options, int blockCount) {
    if (options.chapter > 0)
        return FindChapter(Book(options.book), options.chapter).place.value();
    const std::optional<Place> saved = options.resume ? ReadPlace(options.book) : std::nullopt;
    if (saved && saved->block < static_cast<unsigned int>(blockCount))
        return *saved;
    if (saved) // the book does not have it, as when another book lay there before
        Report(options.book, "the saved place is outside of the book: beginning at the start");
    const auto lastBlock = static_cast<float>(blockCount - 1);
    return {static_cast<unsigned int>(options.position * lastBlock), 0};
}

// Pages through the screens and draws those asked for. Only one screen is in memory at a time.
Drawn DrawScreens(Reader& reader, const RenderOptions& options) {
    const std::filesystem::path folder(options.folder);
    Progress progress(reader.BlockCount());
    Drawn drawn;
    for (;; drawn.toTheEnd = !reader.TurnPage()) {
        if (reader.PassedOver() > 0)
            drawn.gaps[drawn.lastShown] = reader.PassedOver();
        if (drawn.toTheEnd)
            return drawn;
        ++drawn.lastShown;
        if (drawn.lastShown >= options.firstScreen)
            WriteImage(folder / FileName(drawn.lastShown, options), reader.Draw());
        progress.Show(drawn.lastShown, reader.Begin().block);
        if (drawn.lastShown == options.lastScreen)
            return drawn;
        reader.PrepareTurn();
    }
}

// "10 screens drawn to out/ (screen-0001.png to screen-0010.png)"
std::string Summary(const Drawn& drawn, const RenderOptions& options) {
    const long count = std::max(drawn.lastShown - options.firstScreen + 1, 0L);
    std::string line = std::to_string(count) + (count == 1 ? " screen" : " screens") +
                       " drawn to " + (std::filesystem::path(options.folder) / "").string();
    const std::string first = FileName(options.firstScreen, options);
    const std::string last = FileName(drawn.lastShown, options);
    if (count > 0)
        line += " (" + (count == 1 ? last : first + " to " + last) + ")";
    const bool cutOff = drawn.gaps.count(drawn.lastShown) > 0;
    if (drawn.toTheEnd)
        line += (cutOff ? ", nothing can be shown after screen " : ", the book ends at screen ") +
                std::to_string(drawn.lastShown);
    return line + "\n";
}

// Why text was left out, then what and where.
void ReportGaps(const Drawn& drawn, const std::string& book) {
    if (!drawn.gaps.empty())
        ReportDamage(book);
    for (const auto& [screen, bytes] : drawn.gaps)
        Report(book, std::to_string(bytes) + " bytes of text after screen " +
                         std::to_string(screen) + " could not be shown");
}

bool KeepPlace(const Place& place, const std::string& book) {
    if (WritePlace(book, place))
        return true;
    const std::string path = ReadingDataPath(book);
    const int error = access(path.c_str(), W_OK) == 0 ? 0 : errno;
    Report(path, "the place cannot be kept: " +
                     (error != 0 ? SystemReason(error) : "it holds no place that can be read"));
    return false;
}

} // namespace

int RunRender(const RenderOptions& options) {
    Reader reader(options.book, options.look);
    MakeFolder(options.folder);
    if (!reader.GoTo(FirstPlace(options, reader.BlockCount()))) {
        ReportDamage(options.book);
        throw Failure(options.book, "no text from this position on can be shown");
    }
    const Drawn drawn = DrawScreens(reader, options);
    const bool keepsPlace = options.resume && drawn.lastShown >= options.firstScreen;
    const bool kept = !keepsPlace || KeepPlace(reader.Begin(), options.book);
    WriteOut(Summary(drawn, options));
    ReportGaps(drawn, options.book);
    return drawn.gaps.empty() && kept ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace umdview
