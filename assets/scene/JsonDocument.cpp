#include "scene/JsonDocument.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <iterator>
#include <memory>
#include <new>
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

void* JsonPool::Allocate(std::size_t nBytes) {
    constexpr std::size_t Chunk = std::size_t(1) << 16;
    constexpr std::size_t Unit = alignof(JsonValue);
    nBytes = (nBytes + Unit - 1) / Unit * Unit;
    if (nBytes > Chunk / 4) { // has a chunk of its own, so that little of others is left unused
        m_chunks.emplace_back(new std::byte[nBytes]);
        return m_chunks.back().get();
    }
    if (nBytes > m_nLeft) {
        m_chunks.emplace_back(new std::byte[Chunk]);
        m_pNext = m_chunks.back().get();
        m_nLeft = Chunk;
    }
    std::byte* const pBytes = m_pNext;
    m_pNext += nBytes;
    m_nLeft -= nBytes;
    return pBytes;
}

void JsonPool::Clear() {
    m_names.clear();
    m_recent.fill(nullptr);
    m_texts.clear();
    m_chunks.clear();
    m_pNext = nullptr;
    m_nLeft = 0;
}

/** Gives an array or object room for items, of which it has none. */
void JsonValue::SetContent(JsonPool& pool, std::size_t nRoom) {
    std::size_t const nName = m_kind == Kind::Object ? sizeof(std::string const*) : 0;
    void* const pBytes = pool.Allocate(sizeof(Content) + nRoom * (sizeof(JsonValue) + nName));
    m_pContent = new (pBytes) Content{0, static_cast<unsigned int>(nRoom), 0};
}

/** Sees to room for one more item. */
void JsonValue::MakeRoom(JsonPool& pool) {
    Content& before = *m_pContent;
    if (before.nCount < before.nRoom) {
        return;
    }
    SetContent(pool, before.nCount * std::size_t(2) + 2);
    std::uninitialized_move_n(before.GetItems(), before.nCount, m_pContent->GetItems());
    if (m_kind == Kind::Object) {
        std::uninitialized_copy_n(before.GetNames(), before.nCount, m_pContent->GetNames());
    }
    m_pContent->nCount = before.nCount;
    m_pContent->nUse = before.nUse;
}

/** The index of a member; the number of members when there is none of that name. */
std::size_t JsonValue::FindIndex(std::string_view name) const {
    std::string const* const* const ppNames = m_pContent->GetNames();
    std::size_t const nCount = m_pContent->nCount;
    std::size_t n = 0;
    while (n < nCount && *ppNames[n] != name) {
        ++n;
    }
    return n;
}

JsonValue const* JsonValue::Find(std::string_view name) const {
    std::size_t const nIndex = m_kind == Kind::Object ? FindIndex(name) : 0;
    return m_kind == Kind::Object && nIndex < m_pContent->nCount ? &GetItems()[nIndex] : nullptr;
}

JsonValue JsonValue::Copy(JsonPool& pool) const {
    JsonValue copy(m_kind, m_nLine, m_nFile);
    copy.m_nWay = m_nWay;
    if (m_kind == Kind::String) {
        copy.m_pText = m_pText;
        return copy;
    }
    if (m_kind != Kind::Array && m_kind != Kind::Object) {
        copy.m_number = m_number;
        return copy;
    }
    copy.SetContent(pool, m_pContent->nCount);
    copy.m_pContent->nUse = m_pContent->nUse;
    for (JsonValue const& item : GetItems()) {
        new (copy.m_pContent->GetItems() + copy.m_pContent->nCount++) JsonValue(item.Copy(pool));
    }
    if (m_kind == Kind::Object) {
        std::uninitialized_copy_n(m_pContent->GetNames(), m_pContent->nCount, copy.m_pContent->GetNames());
    }
    return copy;
}

void JsonValue::Append(JsonPool& pool, JsonValue item) {
    MakeRoom(pool);
    new (m_pContent->GetItems() + m_pContent->nCount++) JsonValue(std::move(item));
}

void JsonValue::SetMember(JsonPool& pool, std::string const& name, JsonValue value) {
    std::size_t const nIndex = FindIndex(name);
    if (nIndex < m_pContent->nCount) {
        Items()[nIndex] = std::move(value);
    } else {
        AddMember(pool, name, std::move(value));
    }
}

void JsonValue::AddMember(JsonPool& pool, std::string const& name, JsonValue value) {
    MakeRoom(pool);
    m_pContent->GetNames()[m_pContent->nCount] = pool.KeepName(name);
    new (m_pContent->GetItems() + m_pContent->nCount++) JsonValue(std::move(value));
}

void JsonValue::RemoveMember(std::string_view name) {
    std::size_t const nIndex = FindIndex(name);
    if (nIndex < m_pContent->nCount) {
        JsonValue* const pItems = m_pContent->GetItems();
        std::string const** const ppNames = m_pContent->GetNames();
        std::move(pItems + nIndex + 1, pItems + m_pContent->nCount, pItems + nIndex);
        std::copy(ppNames + nIndex + 1, ppNames + m_pContent->nCount, ppNames + nIndex);
        --m_pContent->nCount;
    }
}

/** Receives the parser's events and puts the tree together. */
class JsonBuilder {
public:
    JsonBuilder(ByteSpan text, std::string const& name, JsonLimits const& limits, JsonPool& pool,
                unsigned char nFile)
        : m_sName(name), m_limits(limits), m_pool(pool), m_nFile(nFile),
          m_pCounted(reinterpret_cast<char const*>(text.data)), m_pReached(m_pCounted),
          m_pEnd(m_pCounted + text.size) {}

    bool Run(JsonValue& root, Fault& fault) {
        if (!nlohmann::json::sax_parse(TrackedIterator(m_pReached, &m_pReached),
                                       TrackedIterator(m_pEnd, &m_pReached), this,
                                       nlohmann::json::input_format_t::json, true, true)) {
            fault = m_fault;
            return false;
        }
        root = std::move(m_items.back());
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
        added.SetText(m_pool, value);
        return Add(std::move(added));
    }
    bool binary(std::vector<std::uint8_t>&) { return false; } // does not occur in text
    bool start_object(std::size_t) { return Open(JsonValue::Kind::Object); }
    bool key(std::string& value) {
        m_names.push_back(m_pool.KeepName(value));
        return true;
    }
    bool end_object() { return NamesDiffer() && Close(); }
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
        m_items.push_back(std::move(value));
        return true;
    }

    bool Open(JsonValue::Kind kind) {
        JsonValue added(kind, Line(), m_nFile);
        if (m_open.size() >= m_limits.nDepth) {
            return Refuse(added.m_nLine, "arrays and objects are nested deeper than " +
                                             std::to_string(m_limits.nDepth) + " levels");
        }
        if (!Add(std::move(added))) {
            return false;
        }
        m_open.push_back({m_items.size(), m_names.size()});
        return true;
    }

    /** Moves what has been read of an array or object behind it into its place. */
    bool Close() {
        auto const items = m_items.begin() + static_cast<std::ptrdiff_t>(m_open.back().nFirstItem);
        auto const names = m_names.begin() + static_cast<std::ptrdiff_t>(m_open.back().nFirstName);
        JsonValue& closed = *(items - 1);
        std::size_t const nCount = static_cast<std::size_t>(m_items.end() - items);
        closed.SetContent(m_pool, nCount);
        closed.m_pContent->nCount = static_cast<unsigned int>(nCount);
        std::uninitialized_move(items, m_items.end(), closed.m_pContent->GetItems());
        std::uninitialized_copy(names, m_names.end(), closed.m_pContent->GetNames());
        m_items.erase(items, m_items.end());
        m_names.erase(names, m_names.end());
        m_open.pop_back();
        return true;
    }

    /** Whether the members of the object that has been read last have names of their own each. */
    bool NamesDiffer() {
        auto const names = m_names.begin() + static_cast<std::ptrdiff_t>(m_open.back().nFirstName);
        m_sorted.assign(names, m_names.end());
        std::sort(m_sorted.begin(), m_sorted.end(), std::less<>()); // the pool has each text once
        return std::adjacent_find(m_sorted.begin(), m_sorted.end()) == m_sorted.end() ||
               RefuseTwice(&*names, m_sorted.size());
    }

    /** Tells the first by the alphabet of the names that occur twice. */
    bool RefuseTwice(std::string const* const* ppNames, std::size_t nNames) {
        std::vector<std::size_t> order(nNames);
        std::iota(order.begin(), order.end(), std::size_t(0));
        std::stable_sort(order.begin(), order.end(),
                         [&](std::size_t nA, std::size_t nB) { return *ppNames[nA] < *ppNames[nB]; });
        auto const twice =
            std::adjacent_find(order.begin(), order.end(),
                               [&](std::size_t nA, std::size_t nB) { return ppNames[nA] == ppNames[nB]; });
        JsonValue const* const pItems = m_items.data() + m_open.back().nFirstItem;
        return Refuse(pItems[twice[1]].GetLine(), "\"" + *ppNames[*twice] +
                                                      "\" stands twice in the same object, first on line " +
                                                      std::to_string(pItems[twice[0]].GetLine()));
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

    /** Where the items of an array or object begin that has not ended, and its members' names. */
    struct Opened {
        std::size_t nFirstItem;
        std::size_t nFirstName;
    };

    std::string const& m_sName;
    JsonLimits const& m_limits;
    JsonPool& m_pool;
    unsigned char m_nFile;
    char const* m_pCounted; ///< up to where m_nLine has counted
    char const* m_pReached; ///< up to where the parser has read
    char const* m_pEnd;
    unsigned int m_nLine = 1;
    std::size_t m_nValues = 0;
    std::vector<JsonValue> m_items;           ///< of the open arrays and objects, each behind its own
    std::vector<std::string const*> m_names;  ///< of the open objects' members
    std::vector<std::string const*> m_sorted; ///< those of the object that has ended
    std::vector<Opened> m_open;               ///< the arrays and objects around the next value
    Fault m_fault;
};

bool ParseJson(ByteSpan text, std::string const& name, JsonLimits const& limits, JsonPool& pool,
               JsonValue& root, Fault& fault, unsigned char nFile) {
    return JsonBuilder(text, name, limits, pool, nFile).Run(root, fault);
}

} // namespace trevik::kelvo::assets
