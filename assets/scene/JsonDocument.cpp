#include "scene/JsonDocument.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <numeric>
#include <utility>

namespace trevik::kelvo::assets {

namespace {

/** Walks a text; its owner sees in `*ppReached` how far it has got. */
class TrackedIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = char const*;
    using reference = char const&;

    TrackedIterator(char const* pPosition, char const** ppReached)
        : m_pPosition(pPosition), m_ppReached(ppReached) {}

    char const& operator*() const { return *m_pPosition; }
    TrackedIterator& operator++() {
        *m_ppReached = ++m_pPosition;
        return *this;
    }
    TrackedIterator operator++(int) {
        TrackedIterator const before = *this;
        ++*this;
        return before;
    }
    bool operator==(TrackedIterator const& other) const { return m_pPosition == other.m_pPosition; }
    bool operator!=(TrackedIterator const& other) const { return m_pPosition != other.m_pPosition; }

private:
    char const* m_pPosition;
    char const** m_ppReached;
};

} // namespace

JsonValue const* JsonValue::Find(std::string const& name) const {
    auto const found = std::find(GetNames().begin(), GetNames().end(), name);
    return found == GetNames().end() ? nullptr
                                     : &GetItems()[static_cast<std::size_t>(found - GetNames().begin())];
}

JsonValue JsonValue::Copy() const {
    JsonValue copy(m_kind, m_nLine, m_nFile);
    copy.m_number = m_number;
    if (m_pContent) {
        copy.m_pContent = std::make_unique<Content>();
        copy.m_pContent->text = m_pContent->text;
        copy.m_pContent->names = m_pContent->names;
        copy.m_pContent->nUse = m_pContent->nUse;
        copy.m_pContent->items.reserve(m_pContent->items.size());
        for (JsonValue const& item : m_pContent->items) {
            copy.m_pContent->items.push_back(item.Copy());
        }
    }
    return copy;
}

void JsonValue::SetMember(std::string const& name, JsonValue value) {
    auto const found = std::find(Names().begin(), Names().end(), name);
    if (found != Names().end()) {
        Items()[static_cast<std::size_t>(found - Names().begin())] = std::move(value);
        return;
    }
    Names().push_back(name);
    Items().push_back(std::move(value));
}

JsonValue JsonValue::TakeMember(std::string const& name) {
    auto const found = std::find(Names().begin(), Names().end(), name);
    if (found == Names().end()) {
        return JsonValue();
    }
    auto const item = Items().begin() + (found - Names().begin());
    JsonValue taken = std::move(*item);
    Items().erase(item);
    Names().erase(found);
    return taken;
}

/** Receives the parser's events and puts the tree together. */
class JsonBuilder {
public:
    JsonBuilder(ByteSpan text, std::string const& name, JsonLimits const& limits, unsigned char nFile)
        : m_sName(name), m_limits(limits), m_nFile(nFile),
          m_pCounted(reinterpret_cast<char const*>(text.data)), m_pReached(m_pCounted),
          m_pEnd(m_pCounted + text.size) {}

    bool Run(JsonValue& root, Fault& fault) {
        if (!nlohmann::json::sax_parse(TrackedIterator(m_pReached, &m_pReached),
                                       TrackedIterator(m_pEnd, &m_pReached), this,
                                       nlohmann::json::input_format_t::json, true, true)) {
            fault = m_fault;
            return false;
        }
        root = std::move(m_root);
        return true;
    }

    // The parser's events, under the names that it calls. False stops it.

    bool null() { return Add(JsonValue(JsonValue::Kind::Null, Line(), m_nFile)); }
    bool boolean(bool value) { return AddNumber(JsonValue::Kind::Bool, value ? 1 : 0); }
    bool number_integer(std::int64_t value) {
        return AddNumber(JsonValue::Kind::Number, static_cast<double>(value));
    }
    bool number_unsigned(std::uint64_t value) {
        return AddNumber(JsonValue::Kind::Number, static_cast<double>(value));
    }
    bool number_float(double value, std::string const&) { return AddNumber(JsonValue::Kind::Number, value); }
    bool string(std::string& value) {
        JsonValue added(JsonValue::Kind::String, Line(), m_nFile);
        added.m_pContent = std::make_unique<JsonValue::Content>();
        added.m_pContent->text = std::move(value);
        return Add(std::move(added));
    }
    bool binary(std::vector<std::uint8_t>&) { return false; } // does not occur in text
    bool start_object(std::size_t) { return Open(JsonValue::Kind::Object); }
    bool key(std::string& value) {
        m_open.back()->m_pContent->names.push_back(std::move(value));
        return true;
    }
    bool end_object() { return NamesDiffer(*m_open.back()) && Close(); }
    bool start_array(std::size_t) { return Open(JsonValue::Kind::Array); }
    bool end_array() { return Close(); }
    bool parse_error(std::size_t, std::string const&, nlohmann::detail::exception const& fault) {
        m_fault = MakeOwn(fault.what());
        return false;
    }

private:
    /**
     * The line of what has just been read. A line break read last is not part of it: numbers are read one
     * character too far, to see where they end.
     */
    unsigned int Line() {
        char const* const pEnd =
            m_pReached != m_pCounted && m_pReached[-1] == '\n' ? m_pReached - 1 : m_pReached;
        m_nLine += static_cast<unsigned int>(std::count(m_pCounted, pEnd, '\n'));
        m_pCounted = pEnd;
        return m_nLine;
    }

    bool AddNumber(JsonValue::Kind kind, double value) {
        JsonValue added(kind, Line(), m_nFile);
        added.m_number = value;
        return Add(std::move(added));
    }

    bool Add(JsonValue value) {
        if (++m_nValues > m_limits.nValues) {
            return Refuse(value.m_nLine, "more than " + std::to_string(m_limits.nValues) + " values");
        }
        if (m_open.empty()) {
            m_root = std::move(value);
            m_pAdded = &m_root;
        } else {
            std::vector<JsonValue>& items = m_open.back()->m_pContent->items;
            items.push_back(std::move(value));
            m_pAdded = &items.back();
        }
        return true;
    }

    bool Open(JsonValue::Kind kind) {
        JsonValue added(kind, Line(), m_nFile);
        if (m_open.size() >= m_limits.nDepth) {
            return Refuse(added.m_nLine, "arrays and objects are nested deeper than " +
                                             std::to_string(m_limits.nDepth) + " levels");
        }
        added.m_pContent = std::make_unique<JsonValue::Content>();
        if (!Add(std::move(added))) {
            return false;
        }
        // The pointer holds: while a value is open, nothing is added to the array or object around it.
        m_open.push_back(m_pAdded);
        return true;
    }

    bool Close() {
        m_open.pop_back();
        return true;
    }

    bool NamesDiffer(JsonValue const& object) {
        std::vector<std::string> const& names = object.GetNames();
        std::vector<std::size_t> order(names.size());
        std::iota(order.begin(), order.end(), std::size_t(0));
        std::stable_sort(order.begin(), order.end(),
                         [&](std::size_t nA, std::size_t nB) { return names[nA] < names[nB]; });
        auto const twice =
            std::adjacent_find(order.begin(), order.end(),
                               [&](std::size_t nA, std::size_t nB) { return names[nA] == names[nB]; });
        if (twice == order.end()) {
            return true;
        }
        return Refuse(object.GetItems()[twice[1]].GetLine(),
                      "\"" + names[*twice] + "\" stands twice in the same object, first on line " +
                          std::to_string(object.GetItems()[twice[0]].GetLine()));
    }

    bool Refuse(unsigned int nLine, std::string const& what) {
        return Fail(m_fault, m_sName + ":" + std::to_string(nLine), what);
    }

    /** The parser's message without its own prefix, with the place in the form of ours. */
    Fault MakeOwn(std::string const& message) {
        std::size_t const nText = message.find("] ");
        std::string text = nText == std::string::npos ? message : message.substr(nText + 2);
        std::string place = ":" + std::to_string(Line());
        unsigned int nLine = 0;
        unsigned int nColumn = 0;
        int nRead = 0;
        if (std::sscanf(text.c_str(), "parse error at line %u, column %u: %n", &nLine, &nColumn, &nRead) ==
                2 &&
            nRead > 0) {
            place = ":" + std::to_string(nLine) + ":" + std::to_string(nColumn);
            text.erase(0, static_cast<std::size_t>(nRead));
        }
        return Fault(m_sName + place, text);
    }

    std::string const& m_sName;
    JsonLimits const& m_limits;
    unsigned char m_nFile;
    char const* m_pCounted; ///< up to where m_nLine has counted
    char const* m_pReached; ///< up to where the parser has read
    char const* m_pEnd;
    unsigned int m_nLine = 1;
    std::size_t m_nValues = 0;
    JsonValue m_root;
    JsonValue* m_pAdded = nullptr;
    std::vector<JsonValue*> m_open; ///< the arrays and objects around the next value
    Fault m_fault;
};

bool ParseJson(ByteSpan text, std::string const& name, JsonLimits const& limits, JsonValue& root,
               Fault& fault, unsigned char nFile) {
    return JsonBuilder(text, name, limits, nFile).Run(root, fault);
}

} // namespace trevik::kelvo::assets
