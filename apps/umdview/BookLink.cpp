#include "BookLink.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "common/Failure.h"

namespace umdview {

using namespace umdhost;

namespace fs = std::filesystem;

namespace {

std::string MakeFolder() {
    std::error_code error;
    const fs::path parent = fs::temp_directory_path(error);
    std::string folder = (parent / "umdview-XXXXXX").string();
    if (error)
        throw Failure("temporary folder", error.message());
    if (mkdtemp(folder.data()) == nullptr)
        throw Failure(folder, SystemReason(errno));
    return folder;
}

} // namespace

BookLink::BookLink(const std::string& book) : m_sFolder(MakeFolder()) {
    std::error_code error;
    fs::create_symlink(fs::absolute(book, error), Path(), error);
    if (!error)
        return;
    fs::remove(m_sFolder);
    throw Failure(m_sFolder, error.message());
}

BookLink::~BookLink() {
    std::error_code error;
    fs::remove_all(m_sFolder, error);
}

} // namespace umdview
