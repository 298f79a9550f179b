#include "KeyFile.h"

#include <filesystem>

#include <glibmm/convert.h>
#include <glibmm/fileutils.h>

namespace umdread {

namespace fs = std::filesystem;

namespace {

template<typename Value, typename Getter>
void Take(Value& value, Getter getter) {
    try {
        value = getter();
    } catch (const Glib::Error&) { // it keeps its value
    }
}

} // namespace

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

void KeyFile::Get(const std::string& group, const std::string& key, std::string& value) const {
    Take(value, [&] { return m_pFile->get_string(group, key); });
}

void KeyFile::Get(const std::string& group, const std::string& key, int& value) const {
    Take(value, [&] { return m_pFile->get_integer(group, key); });
}

void KeyFile::Get(const std::string& group, const std::string& key, bool& value) const {
    Take(value, [&] { return m_pFile->get_boolean(group, key); });
}

void KeyFile::Get(const std::string& group, const std::string& key, double& value) const {
    Take(value, [&] { return m_pFile->get_double(group, key); });
}

void KeyFile::Set(const std::string& group, const std::string& key, const std::string& value) {
    m_pFile->set_string(group, key, value);
}

void KeyFile::Set(const std::string& group, const std::string& key, int value) {
    m_pFile->set_integer(group, key, value);
}

void KeyFile::Set(const std::string& group, const std::string& key, bool value) {
    m_pFile->set_boolean(group, key, value);
}

void KeyFile::Set(const std::string& group, const std::string& key, double value) {
    m_pFile->set_double(group, key, value);
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
