#include "RenderCommand.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>

#include <unistd.h>

#include "BookLink.h"
#include "Output.h"
#include "Progress.h"
#include "Reader.h"
#include "common/Book.h"
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
std::string FileName(long screen, ImageFormat format) {
    char number[24];
    std::snprintf(number, sizeof(number), "%04ld", screen);
    return std::string("screen-") + number + "." + NameOf(format);
}

std::string FilePath(long screen, const RenderOptions& options) {
    return (std::filesystem::path(options.folder) / FileName(screen, options.format)).string();
}

void ReportDamage(const std::string& book, const TextSurvey& survey) {
    for (const std::string& warning : survey.Warnings())
        Report(book, "damaged: " + warning);
}

// The saved place, unless the book does not have it, as when another book lay there before.
std::optional<Place> PlaceToResume(const RenderOptions& options) {
    const std::optional<Place> place = ReadPlace(options.book);
    if (!place || place->block < Book(options.book).BlockCount())
        return place;
    Report(options.book, "the saved place is outside of the book: beginning at the start");
    return std::nullopt;
}

// Goes to where drawing begins; the saved place is where the first drawing begins by itself.
void OpenAt(Reader& reader, const RenderOptions& options, const std::optional<Place>& resumeAt) {
    reader.SetScreenSize(options.width, options.height);
    if (options.fontSize)
        reader.SetFontSize(*options.fontSize);
    if (resumeAt)
        return reader.ShowSavedPlace();
    if (reader.GoTo(options.position))
        return;
    ReportDamage(options.book, TextSurvey(Book(options.book)));
    throw Failure(options.book, "the text at this position cannot be shown");
}

// How many screens there are from the position to the end of the book.
long CountScreens(Reader& reader, const RenderOptions& options) {
    Progress progress("Counting screens", 0);
    long count = 1;
    for (; reader.TurnPage(); ++count)
        progress.Show(count);
    reader.GoTo(options.position);
    return count;
}

// The screens the progress bar counts up to; without a bar nobody needs to know.
long LastScreen(Reader& reader, const RenderOptions& options) {
    if (options.screens.last != ScreenRange::unlimited || !Progress::IsVisible())
        return options.screens.last;
    // There is no way back to a saved place; the bar then only tells how many are drawn.
    return options.resume ? 0 : CountScreens(reader, options);
}

// What the pages came to: to the last screen asked for, or to an end before it.
enum class End { AsAsked, OfBook, OfReadableText };

struct Drawn {
    long count = 0;
    long lastShown = 0; // number of the last screen that was shown
    End end = End::AsAsked;
};

// Pages through the screens and draws those asked for. Only one screen is in memory at a time.
Drawn DrawScreens(Reader& reader, const RenderOptions& options, Progress& progress) {
    Drawn drawn;
    Image image(options.width, options.height);
    for (drawn.lastShown = 1;; ++drawn.lastShown) {
        if (drawn.lastShown >= options.screens.first) {
            reader.Draw(image);
            WriteImage(FilePath(drawn.lastShown, options), image, options.format);
            ++drawn.count;
        }
        progress.Show(drawn.lastShown);
        if (drawn.lastShown == options.screens.last)
            return drawn;
        if (!reader.TurnPage()) {
            drawn.end = End::OfBook;
            return drawn;
        }
    }
}

std::string Screens(long count) {
    return std::to_string(count) + (count == 1 ? " screen" : " screens");
}

std::string FileNames(const Drawn& drawn, ImageFormat format) {
    const std::string last = FileName(drawn.lastShown, format);
    if (drawn.count == 1)
        return " (" + last + ")";
    return " (" + FileName(drawn.lastShown - drawn.count + 1, format) + " to " + last + ")";
}

// "10 screens drawn to out/ (screen-0001.png to screen-0010.png)"
std::string Summary(const Drawn& drawn, const RenderOptions& options) {
    std::string line = Screens(drawn.count) + " drawn to " + options.folder;
    if (line.back() != '/')
        line += '/';
    if (drawn.count > 0)
        line += FileNames(drawn, options.format);
    if (drawn.end == End::OfBook)
        line += ", the book ends at screen " + std::to_string(drawn.lastShown);
    if (drawn.end == End::OfReadableText)
        line += ", no screen can be shown behind screen " + std::to_string(drawn.lastShown);
    return line + "\n";
}

// A page that does not turn is the end of the book, unless the text behind it cannot be loaded.
End FindReason(const RenderOptions& options, const std::optional<Place>& resumeAt) {
    const Book book(options.book);
    const TextSurvey survey(book);
    const auto lastBlock = static_cast<double>(std::max<std::int64_t>(book.BlockCount() - 1, 0));
    const std::int64_t firstBlock =
        resumeAt ? resumeAt->block : static_cast<std::int64_t>(options.position * lastBlock);
    if (!survey.StopsReaderBehind(firstBlock))
        return End::OfBook;
    ReportDamage(options.book, survey);
    return End::OfReadableText;
}

Drawn Render(Reader& reader, const RenderOptions& options, const std::optional<Place>& resumeAt) {
    MakeFolder(options.folder);
    OpenAt(reader, options, resumeAt);
    Drawn drawn;
    {
        Progress progress("Drawing screens", LastScreen(reader, options));
        drawn = DrawScreens(reader, options, progress);
    }
    if (drawn.end != End::AsAsked)
        drawn.end = FindReason(options, resumeAt);
    return drawn;
}

// The library saves a place whenever a renderer goes. Here it does so beside the link.
Drawn Look(const RenderOptions& options) {
    const BookLink link(options.book);
    Reader reader(options.book, link.Path());
    return Render(reader, options, std::nullopt);
}

// Deleting the reader saves the place. A run that draws nothing or fails must not move it.
Drawn Resume(const RenderOptions& options) {
    auto reader = std::make_unique<Reader>(options.book, options.book);
    const Place before = ReadPlace(options.book).value_or(Place());
    Drawn drawn;
    try {
        drawn = Render(*reader, options, PlaceToResume(options));
    } catch (...) {
        reader.reset();
        WritePlace(options.book, before);
        throw;
    }
    reader.reset();
    if (drawn.count == 0)
        WritePlace(options.book, before);
    return drawn;
}

// The library reads a book whose place it cannot save, and says nothing about it.
bool IsPlaceKept(const RenderOptions& options) {
    const std::string path = ReadingDataPath(options.book);
    const int error = access(path.c_str(), W_OK) == 0 ? 0 : errno;
    if (error == 0 && ReadPlace(options.book))
        return true;
    Report(path, "the place cannot be kept: " +
                     (error != 0 ? SystemReason(error) : "it holds no place that can be read"));
    return false;
}

} // namespace

int RunRender(const RenderOptions& options) {
    const Drawn drawn = options.resume ? Resume(options) : Look(options);
    WriteOut(Summary(drawn, options));
    FlushOut();
    const bool complete = drawn.end != End::OfReadableText;
    const bool kept = !options.resume || IsPlaceKept(options);
    return complete && kept ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace umdview
