#include "kelvo_test/TemporaryFolder.h"

#include <stdlib.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace kelvokit::test {

TemporaryFolder::TemporaryFolder()
    : m_sPath((std::filesystem::temp_directory_path() / "kelvo-test-XXXXXX").string()) {
    if (!mkdtemp(m_sPath.data())) {
        std::abort();
    }
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_sPath, ignored);
}

void TemporaryFolder::Write(std::string const& name, Bytes const& bytes) const {
    WriteText(name, std::string(bytes.begin(), bytes.end()));
}

void TemporaryFolder::WriteText(std::string const& name, std::string const& text) const {
    std::ofstream(Path(name), std::ios::binary) << text;
}

TemporaryFolder::Bytes TemporaryFolder::Read(std::string const& name) const {
    std::string const text = ReadText(name);
    return Bytes(text.begin(), text.end());
}

std::string TemporaryFolder::ReadText(std::string const& name) const {
    std::ifstream file(Path(name), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

std::vector<std::string> TemporaryFolder::List() const {
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(m_sPath)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace kelvokit::test
