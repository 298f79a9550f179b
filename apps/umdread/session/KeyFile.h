#pragma once

#include <string>
#include <vector>

#include <glibmm/keyfile.h>

namespace umdread {

// A file of settings in a folder of the user's. One that cannot be parsed is set aside under its
// name with ".damaged" appended, and an empty one takes its place: it must not keep anyone from
// reading.
class KeyFile {
public:
    KeyFile(const std::string& folder, const std::string& name);

    // Leaves the value as it is when the file has none, or one of another type.
    void Get(const std::string& group, const std::string& key, std::string& value) const;
    void Get(const std::string& group, const std::string& key, int& value) const;
    void Get(const std::string& group, const std::string& key, bool& value) const;
    void Get(const std::string& group, const std::string& key, double& value) const;

    void Set(const std::string& group, const std::string& key, const std::string& value);
    void Set(const std::string& group, const std::string& key, int value);
    void Set(const std::string& group, const std::string& key, bool value);
    void Set(const std::string& group, const std::string& key, double value);

    std::vector<std::string> Groups() const;
    void Clear();

    // Replaces the file as a whole; false when it cannot be written.
    bool Save() const;

private:
    std::string m_sFolder;
    std::string m_sPath;
    Glib::RefPtr<Glib::KeyFile> m_pFile;
};

} // namespace umdread
