#pragma once

#include "trevik/kelvo/Node.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace trevik::kelvo {

/**
 * Which function an object's class has for a virtual operation, as a number to compare: what stands for the
 * operation in the object's virtual table. So a class that has one of its own is told from one that keeps its
 * base's, without calling it, wherever the class comes from. The Itanium C++ ABI, which Linux and Android
 * have on all processors, says where it stands: an object begins with the address of its table, a pointer to
 * a virtual member with the operation's distance in the table (plus one, but for ARM). Where a linker gives
 * one function two addresses, it looks like two.
 */
template <class Result, class Class, class... Arguments>
std::uintptr_t FindOverrider(Node const& object, Result (Class::*operation)(Arguments...)) {
    std::uintptr_t nDistance = 0;
    static_assert(sizeof(operation) == 2 * sizeof(nDistance), "the ABI's pointer to a member function");
    std::memcpy(&nDistance, &operation, sizeof(nDistance));
    unsigned char const* pTable = nullptr;
    std::memcpy(&pTable, static_cast<void const*>(&object), sizeof(pTable));
    std::uintptr_t nFunction = 0;
    std::memcpy(&nFunction, pTable + (nDistance & ~std::uintptr_t{1}), sizeof(nFunction));
    return nFunction;
}

/** The functions that a class has for updating a node alone. */
struct UpdateOverriders {
    explicit UpdateOverriders(Node const& node)
        : m_nInternalUpdate(FindOverrider(node, &Node::InternalUpdate)),
          m_nCalculateTransform(FindOverrider(node, &Node::CalculateTransform)) {}

    bool operator==(UpdateOverriders const& other) const {
        return m_nInternalUpdate == other.m_nInternalUpdate &&
               m_nCalculateTransform == other.m_nCalculateTransform;
    }

    std::uintptr_t m_nInternalUpdate;
    std::uintptr_t m_nCalculateTransform;
};

} // namespace trevik::kelvo
