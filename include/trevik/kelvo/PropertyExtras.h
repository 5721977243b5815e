#pragma once

#include "trevik/Delegate.h"
#include "trevik/List.h"
#include "trevik/Memory.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Controller.h"
#include "trevik/kelvo/PropertyBinding.h"

#include <cstddef>
#include <cstdint>
#include <new>

namespace trevik::kelvo::detail {

/**
 * What a property has besides its value: controllers, subscribers and a binding. Most properties have none of
 * them, and those that have something mostly have one controller; so this is a single word, which is zero, or
 * a controller, or a block with everything, told apart by the word's lowest bits. A property is half as large
 * for it (32 bytes in place of 72), and its controller is no further away.
 */
template <class T>
class PropertyExtras {
public:
    /** Everything that a property can have. */
    struct Block {
        PropertyBinding<T>* m_pBinding = nullptr;
        event<void(T const&)> m_changeEvent;
        List<Ref<Controller<T>>> m_controllers; ///< none of them null; the last one is active

        static void* operator new(std::size_t nBytes, std::nothrow_t const&) noexcept {
            return AllocateMemory(nBytes);
        }
        static void operator delete(void* pMemory, std::nothrow_t const&) noexcept { FreeMemory(pMemory); }
        static void operator delete(void* pMemory) noexcept { FreeMemory(pMemory); }
    };

    PropertyExtras() = default;
    ~PropertyExtras() {
        if (m_nWord != 0) {
            Release();
        }
    }
    PropertyExtras(PropertyExtras const&) = delete;
    PropertyExtras& operator=(PropertyExtras const&) = delete;

    /** The block, or null where there is none. */
    Block* GetBlock() const {
        return __builtin_expect(HasBlock(), 0) ? reinterpret_cast<Block*>(m_nWord - BlockBit) : nullptr;
    }
    /** Whether there is a block. */
    bool HasBlock() const { return (m_nWord & BlockBit) != 0; }

    /** The block, made if there is none yet; null without memory. */
    Block* NeedBlock() {
        if (!HasBlock() && !MakeBlock()) {
            return nullptr;
        }
        return GetBlock();
    }

    /** Whether there is nothing but one controller, which IsPlainSampler. */
    bool HasPlainSampler() const { return (m_nWord & SamplerBit) != 0; }
    /** That controller; to be asked where there is one. */
    Controller<T>* GetPlainSampler() const { return reinterpret_cast<Controller<T>*>(m_nWord - SamplerBit); }
    /** The only controller, which needs no block, or null; to be asked where there is no block. */
    Controller<T>* GetOnlyController() const { return reinterpret_cast<Controller<T>*>(m_nWord & ~KindBits); }

    /** The number of controllers. */
    unsigned int GetControllerCount() const {
        Block const* const pBlock = GetBlock();
        return pBlock ? pBlock->m_controllers.GetCount() : m_nWord != 0;
    }
    /** Controller `nController` (0 .. GetControllerCount() - 1). */
    Controller<T>* GetController(unsigned int nController) const {
        Block const* const pBlock = GetBlock();
        return pBlock ? pBlock->m_controllers[nController].Get() : GetOnlyController();
    }
    /** The last controller; null when there is none. */
    Controller<T>* GetLastController() const {
        Block const* const pBlock = GetBlock();
        if (!pBlock) {
            return GetOnlyController();
        }
        return pBlock->m_controllers.IsEmpty() ? nullptr : pBlock->m_controllers.Last().Get();
    }

    /** Adds a controller, not null, behind the others. False without memory. */
    bool AppendController(Controller<T>* pController) {
        if (m_nWord != 0) {
            Block* const pBlock = NeedBlock();
            return pBlock && pBlock->m_controllers.Append(Ref(pController));
        }
        pController->AddReference();
        m_nWord = reinterpret_cast<std::uintptr_t>(pController) |
                  (pController->IsPlainSampler() ? SamplerBit : std::uintptr_t{0});
        return true;
    }
    /** Drops the last controller; there has to be one. */
    void RemoveLastController() {
        if (Block* const pBlock = GetBlock()) {
            pBlock->m_controllers.RemoveLast();
        } else {
            RemoveControllers();
        }
    }
    /** Drops all controllers. */
    void RemoveControllers() {
        if (Block* const pBlock = GetBlock()) {
            pBlock->m_controllers.Clear();
        } else if (Controller<T>* const pController = GetOnlyController()) {
            m_nWord = 0;
            pController->ReleaseReference();
        }
    }

private:
    // Objects with operations begin with an address and lie at multiples of 4, at least.
    static constexpr std::uintptr_t BlockBit = 1;
    static constexpr std::uintptr_t SamplerBit = 2; ///< never together with the other one
    static constexpr std::uintptr_t KindBits = 3;

    TREVIK_NOINLINE bool MakeBlock() {
        Block* const pBlock = new (std::nothrow) Block;
        Controller<T>* const pController = GetOnlyController();
        if (!pBlock || (pController && !pBlock->m_controllers.Append(Ref(pController)))) {
            delete pBlock;
            return false;
        }
        RemoveControllers();
        m_nWord = reinterpret_cast<std::uintptr_t>(pBlock) | BlockBit;
        return true;
    }
    TREVIK_NOINLINE void Release() {
        Block* const pBlock = GetBlock();
        RemoveControllers();
        delete pBlock;
    }

    std::uintptr_t m_nWord = 0;
};

} // namespace trevik::kelvo::detail
