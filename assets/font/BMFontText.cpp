#include "font/BMFontTag.h"

#include <algorithm>

namespace trevik::kelvo::assets {

namespace {

constexpr std::string_view Blanks = " \t\r\v\f";

/** One line of `name key=value key="value" ...`, eaten from its front. */
class LineParser {
public:
    LineParser(std::string_view rest, std::size_t line) : m_rest(rest), m_line(line) { SkipBlanks(); }

    bool IsAtEnd() const { return m_rest.empty(); }

    std::string_view ReadName() { return Take(std::min(m_rest.find_first_of(" \t\r\v\f="), m_rest.size())); }

    std::pair<std::string_view, std::string_view> ReadAttribute() {
        std::string_view const key = ReadName();
        if (key.empty() || m_rest.empty() || m_rest[0] != '=') {
            ThrowFault(m_line, "expected key=value pairs");
        }
        m_rest.remove_prefix(1);
        std::string_view const value = !m_rest.empty() && m_rest[0] == '"'
                                           ? ReadQuoted()
                                           : Take(std::min(m_rest.find_first_of(Blanks), m_rest.size()));
        return {key, value};
    }

private:
    void SkipBlanks() { m_rest.remove_prefix(std::min(m_rest.find_first_not_of(Blanks), m_rest.size())); }

    std::string_view Take(std::size_t count) {
        std::string_view const taken = m_rest.substr(0, count);
        m_rest.remove_prefix(count);
        SkipBlanks();
        return taken;
    }

    /** Quotes are not escaped, so that only one in front of a blank or the end closes: letter=""" is a quote.
     */
    std::string_view ReadQuoted() {
        m_rest.remove_prefix(1);
        for (std::size_t n = 0; n < m_rest.size(); ++n) {
            bool const fAtEnd = n + 1 == m_rest.size() || Blanks.find(m_rest[n + 1]) != Blanks.npos;
            if (m_rest[n] == '"' && fAtEnd) {
                std::string_view const value = m_rest.substr(0, n);
                Take(n + 1);
                return value;
            }
        }
        ThrowFault(m_line, "a quoted value does not end");
    }

    std::string_view m_rest;
    std::size_t m_line;
};

} // namespace

void ReadBMFontText(ByteSpan text, BMFontDescription& description) {
    BMFontTagReader reader(description);
    std::string_view rest(reinterpret_cast<char const*>(text.data), text.size);
    BMFontTag tag;
    while (!rest.empty()) {
        std::size_t const end = std::min(rest.find('\n'), rest.size());
        LineParser line(rest.substr(0, end), ++tag.line);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (line.IsAtEnd()) {
            continue;
        }
        tag.name = line.ReadName();
        tag.attributes.clear();
        while (!line.IsAtEnd()) {
            tag.attributes.push_back(line.ReadAttribute());
        }
        reader.Read(tag);
    }
    reader.Finish();
}

} // namespace trevik::kelvo::assets
