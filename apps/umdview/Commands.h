#pragma once

#include <string>

#include "Reader.h"

// The commands. Each tells what is asked for on standard output and what is damaged on standard
// error, throws Failure when it can do nothing, and returns the exit status: 1 when something was
// damaged.
namespace umdview {

// umdview info: tells what a book is, for people or as JSON.
int RunInfo(const std::string& book, bool json);

// umdview text: writes the book's text as UTF-8, chunk by chunk. `raw` keeps paragraph separators;
// else each is written as a newline. `chapter` asks for that chapter's text alone, counted from 1;
// 0 is for all. Damaged chunks are left out.
int RunText(const std::string& book, unsigned int chapter, bool raw);

// umdview readingdata: tells what a reading-data file holds, for people or as JSON. `path` is the
// file's or its book's. Nothing is changed.
int RunReadingData(const std::string& path, bool json);

struct RenderOptions {
    std::string book;
    std::string folder; // made when missing
    std::string format = "png";
    long firstScreen = 1; // counted from 1 where drawing begins
    long lastScreen = 10; // included; the last that there is when the book ends before it
    Look look;
    float position = 0;       // fraction of the book
    unsigned int chapter = 0; // where to begin instead, counted from 1; 0: at the position
    // Begin at the saved place instead, and keep it at the last screen drawn. Else the reader's
    // place is neither used nor moved.
    bool resume = false;
};

// umdview render: draws screens of a book into image files and tells how many went where.
int RunRender(const RenderOptions& options);

} // namespace umdview
