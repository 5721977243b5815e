#pragma once

#include "image/Image.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace trevik::kelvo::assets {

/**
 * Where the texts and lists of JSON values lie: side by side, so that they take little room and little time,
 * and until the pool ends, also those that no value has any more.
 */
class JsonPool {
public:
    JsonPool() = default;
    JsonPool(JsonPool const&) = delete;
    JsonPool& operator=(JsonPool const&) = delete;

    /** A member's name, which stays; the same one for the same text, as files have few and use them often. */
    std::string const* KeepName(std::string const& name) {
        std::string const*& pRecent =
            m_recent[(name.size() * 4 + static_cast<unsigned char>(name[0])) % Recent];
        if (!pRecent || *pRecent != name) {
            pRecent = &*m_names.insert(name).first;
        }
        return pRecent;
    }
    /** Whether there is a member of that name. */
    bool HasName(std::string const& name) const { return m_names.count(name) != 0; }
    /** A text that stays. */
    std::string const* KeepText(std::string const& text) { return &m_texts.emplace_back(text); }
    /** Bytes that stay, aligned for a value. */
    void* Allocate(std::size_t nBytes);
    /** Ends all that it holds. */
    void Clear();

private:
    static constexpr std::size_t Recent = 64;

    std::unordered_set<std::string> m_names;
    std::array<std::string const*, Recent> m_recent{}; ///< of m_names, by what takes less than their hash
    std::deque<std::string> m_texts;
    std::vector<std::unique_ptr<std::byte[]>> m_chunks;
    std::byte* m_pNext = nullptr; ///< in the last one that is not full
    std::size_t m_nLeft = 0;
};

/** Values side by side. */
template <class Value>
class JsonItems {
public:
    JsonItems(Value* pItems, std::size_t nCount) : m_pItems(pItems), m_nCount(nCount) {}

    Value* begin() const { return m_pItems; }
    Value* end() const { return m_pItems + m_nCount; }
    std::size_t size() const { return m_nCount; } // NOLINT(readability-identifier-naming): as lists have it
    bool empty() const { return m_nCount == 0; }  // NOLINT(readability-identifier-naming)
    Value& operator[](std::size_t nIndex) const { return m_pItems[nIndex]; }

private:
    Value* m_pItems;
    std::size_t m_nCount;
};

/**
 * A value of a JSON text with the line that it ends on. Numbers are finite. Members of an object keep their
 * order, and their names differ. Its text and its items lie in a pool and end with that.
 */
class JsonValue {
public:
    enum class Kind : unsigned char { Null, Bool, Number, String, Array, Object };

    explicit JsonValue(Kind kind = Kind::Null, unsigned int nLine = 0, unsigned char nFile = 0)
        : m_kind(kind), m_nFile(nFile), m_nLine(nLine) {}
    JsonValue(JsonValue&&) = default;
    JsonValue& operator=(JsonValue&&) = default;

    Kind GetKind() const { return m_kind; }
    /** Number of the file that the value stands in: 0 for the first of those that belong together. */
    unsigned char GetFile() const { return m_nFile; }
    /** Line in the text, from 1; of an array or an object the line that it begins on. */
    unsigned int GetLine() const { return m_nLine; }

    bool GetBool() const { return m_number != 0; }
    double GetNumber() const { return m_number; }
    /** The text of a string, in UTF-8. */
    std::string const& GetText() const { return *m_pText; }
    /** Elements of an array, values of an object's members. */
    JsonItems<JsonValue const> GetItems() const { return {m_pContent->GetItems(), m_pContent->nCount}; }
    /** The same, to be changed. */
    JsonItems<JsonValue> Items() { return {m_pContent->GetItems(), m_pContent->nCount}; }
    /** The name of an object's member; there are as many as there are items. */
    std::string const& GetName(std::size_t nMember) const { return *m_pContent->GetNames()[nMember]; }
    /** An object's member; null when it has none of that name. */
    JsonValue const* Find(std::string_view name) const;

    /** The same value once more. Copies nothing by itself: a copy may be large. */
    JsonValue Copy(JsonPool& pool) const;
    void SetText(JsonPool& pool, std::string const& text) { m_pText = pool.KeepText(text); }
    /** Adds an element to an array. */
    void Append(JsonPool& pool, JsonValue item);
    /** An object's member becomes `value`; a new one, if it has none of that name. */
    void SetMember(JsonPool& pool, std::string const& name, JsonValue value);
    /** Adds a member to an object, which has none of that name. */
    void AddMember(JsonPool& pool, std::string const& name, JsonValue value);
    /** Takes a member out of an object, if it has one of that name. */
    void RemoveMember(std::string_view name);

    /** Of an object that has come in another's place: which use of a template that was, from 1; else 0. */
    std::size_t GetUse() const { return m_kind == Kind::Object ? m_pContent->nUse : 0; }
    void SetUse(std::size_t nUse) { m_pContent->nUse = static_cast<unsigned int>(nUse); }
    /** Of a value that has come from another place, but in no object's place: in which way, from 1; else 0.
     */
    std::uint16_t GetWay() const { return m_nWay; }
    void SetWay(std::uint16_t nWay) { m_nWay = nWay; }

private:
    friend class JsonBuilder;

    /** What lies before the items of an array or object. Behind them lie the names of an object's members. */
    struct alignas(8) Content {
        JsonValue* GetItems() { return reinterpret_cast<JsonValue*>(this + 1); }
        std::string const** GetNames() { return reinterpret_cast<std::string const**>(GetItems() + nRoom); }

        unsigned int nCount;
        unsigned int nRoom;
        unsigned int nUse;
    };

    std::size_t FindIndex(std::string_view name) const;
    void SetContent(JsonPool& pool, std::size_t nRoom);
    void MakeRoom(JsonPool& pool);

    Kind m_kind;
    unsigned char m_nFile;
    std::uint16_t m_nWay = 0;
    unsigned int m_nLine;
    union {
        double m_number = 0;
        std::string const* m_pText; ///< of a string
        Content* m_pContent;        ///< of an array or object
    };
};

/** What a JSON text may ask for. */
struct JsonLimits {
    unsigned int nDepth = 128;      ///< arrays and objects inside each other
    std::size_t nValues = 1u << 22; ///< values of all kinds
};

/**
 * Reads a JSON text in UTF-8, which may have comments as C++ has them; what values hold goes into `pool`, and
 * `nFile` is the number that they get. Fails, leaving `root` alone, with one line that begins with `name` and
 * the place ("name:line:column: " for what is not JSON, "name:line: " for what is but is refused: a name that
 * occurs twice in an object, and more than the limits allow).
 */
bool ParseJson(ByteSpan text, std::string const& name, JsonLimits const& limits, JsonPool& pool,
               JsonValue& root, Fault& fault, unsigned char nFile = 0);

} // namespace trevik::kelvo::assets
