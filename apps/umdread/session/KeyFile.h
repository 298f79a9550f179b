#pragma once

#include <string>
#include <type_traits>
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
    template<typename Value>
    void Get(const std::string& group, const std::string& key, Value& value) const {
        try {
            if constexpr (std::is_same_v<Value, std::string>)
                value = m_pFile->get_string(group, key);
            else if constexpr (std::is_same_v<Value, bool>)
                value = m_pFile->get_boolean(group, key);
            else if constexpr (std::is_same_v<Value, double>)
                value = m_pFile->get_double(group, key);
            else // a whole number or an enumeration
                value = static_cast<Value>(m_pFile->get_integer(group, key));
        } catch (const Glib::Error&) { // it keeps its value
        }
    }

    template<typename Value>
    void Set(const std::string& group, const std::string& key, const Value& value) {
        if constexpr (std::is_same_v<Value, std::string>)
            m_pFile->set_string(group, key, value);
        else if constexpr (std::is_same_v<Value, bool>)
            m_pFile->set_boolean(group, key, value);
        else if constexpr (std::is_same_v<Value, double>)
            m_pFile->set_double(group, key, value);
        else
            m_pFile->set_integer(group, key, static_cast<int>(value));
    }

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
