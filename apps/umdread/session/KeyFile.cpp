#include "KeyFile.h"

#include <filesystem>

#include <glibmm/convert.h>
#include <glibmm/fileutils.h>

namespace umdread {

namespace fs = std::filesystem;

KeyFile::KeyFile(const std::string& folder, const std::string& name)
    : m_sFolder(folder), m_sPath((fs::path(folder) / name).string()),
      m_pFile(Glib::KeyFile::create()) {
    std::error_code error;
    if (!fs::exists(m_sPath, error))
        return;
    try {
        m_pFile->load_from_file(m_sPath);
    } catch (const Glib::Error&) {
        fs::rename(m_sPath, m_sPath + ".damaged", error);
        m_pFile = Glib::KeyFile::create();
    }
}

std::vector<std::string> KeyFile::Groups() const {
    std::vector<std::string> groups;
    for (const Glib::ustring& group : m_pFile->get_groups())
        groups.push_back(group);
    return groups;
}

void KeyFile::Clear() {
    m_pFile = Glib::KeyFile::create();
}

bool KeyFile::Save() const {
    std::error_code error;
    fs::create_directories(m_sFolder, error);
    try {
        Glib::file_set_contents(m_sPath, m_pFile->to_data());
        return true;
    } catch (const Glib::Error&) {
        return false;
    }
}

} // namespace umdread
