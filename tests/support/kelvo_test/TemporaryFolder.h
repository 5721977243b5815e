#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kelvokit::test {

/** A folder of its own for one test, removed with all that it holds. */
class TemporaryFolder {
public:
    using Bytes = std::vector<std::uint8_t>;

    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(TemporaryFolder const&) = delete;
    TemporaryFolder& operator=(TemporaryFolder const&) = delete;

    std::string Path(std::string const& name) const { return m_sPath + "/" + name; }
    void Write(std::string const& name, Bytes const& bytes) const;
    void WriteText(std::string const& name, std::string const& text) const;
    /** What a file holds; nothing when it cannot be read. */
    Bytes Read(std::string const& name) const;
    std::string ReadText(std::string const& name) const;
    /** Names of what is there, in order. */
    std::vector<std::string> List() const;

private:
    std::string m_sPath;
};

} // namespace kelvokit::test
