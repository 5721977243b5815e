#pragma once

#include "trevik/Debug.h"
#include "trevik/Delegate.h"
#include "trevik/Export.h"
#include "trevik/List.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Controller.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/MemoryTracer.h"
#include "trevik/kelvo/Property.h"
#include "trevik/kelvo/PropertyBinding.h"
#include "trevik/kelvo/PropertyExtras.h"
#include "trevik/kelvo/PropertyTraits.h"
#include "trevik/kelvo/SampleController.h"
#include "trevik/kelvo/Serializer.h"

#include <atomic>
#include <new>

namespace trevik::kelvo {

/**
 * Counts, for all properties of the process together, how often one has gained a controller, or has been
 * entered in a list with one. A list that keeps track of its animated properties compares the count with the
 * one it last saw. Starts at 1.
 */
struct TREVIK_API BasePropertyGeneration {
    /**
     * The count now. A plain load: another thread's change counts once that thread has handed over its
     * property.
     */
    static unsigned int Get() { return s_nValue.load(std::memory_order_relaxed); }
    /** Notes that a property has gained a controller. */
    static void Advance() { s_nValue.fetch_add(1, std::memory_order_relaxed); }

    static std::atomic<unsigned int> s_nValue; ///< the count
};

namespace detail {

/**
 * Whether a property's controller has written itself into the current node, as an application's own need not.
 */
inline bool HasSavedController(Serializer const& serializer) {
    DocumentNode const* const pNode = serializer.GetCurrentNode();
    return pNode && pNode->FindChild(DocumentID::Controller);
}

/** Whether a value has been copied: a list has no elements when there was no memory for them. */
template <class T>
bool IsCopied(T const&, T const&) {
    return true;
}
template <class T>
bool IsCopied(List<T> const& copy, List<T> const& original) {
    return copy.GetCount() == original.GetCount();
}

} // namespace detail

/**
 * An animatable value of type T, a member of the object it belongs to: a stored value, the controllers that
 * can drive it, and an event that announces changes. Used on one thread at a time.
 *
 * A binding, when set, stands in for the stored value: reads, writes, evaluations, loads and change
 * notifications all go to it, and the event does not fire.
 *
 * Every library that uses properties of a type has its own copy of the template, type information included.
 * So a property's type is told by its descriptor in the owner's list; a dynamic_cast to a template may fail
 * on an object of another library. The same holds for controllers.
 */
template <class T>
class BaseProperty : public Property {
public:
    typedef T Value;                           ///< type of the property's values
    typedef event<void(T const&)> ChangeEvent; ///< fired with the new value

    BaseProperty() = default;
    /** A property with the initial value; no event fires. */
    explicit BaseProperty(T const& value) : m_value(value) {}
    /**
     * A copy has the id, the current value and the controllers; it has no subscribers and no binding. Without
     * memory for them it is torn, and makes the property list that it is entered in one that is not whole.
     */
    BaseProperty(BaseProperty const& other) : Property(other), m_value(other.GetValue()) {
        bool const fShared = ShareControllers(other);
        if (!fShared || !detail::IsCopied(m_value, other.GetValue())) {
            m_nID = TornID;
        }
    }
    BaseProperty& operator=(BaseProperty const&) = delete;

    /** The current value. The reference holds until the value changes. */
    T const& GetValue() const {
        PropertyBinding<T>* const pBinding = GetBinding();
        return __builtin_expect(pBinding != nullptr, 0) ? pBinding->GetValue() : m_value;
    }

    /** The stored value, which a binding may stand in for. */
    T const& GetStoredValue() const { return m_value; }

    /** Where the current value may be written in place; to be followed by Notify. */
    T& GetWritableValue() {
        Mark();
        PropertyBinding<T>* const pBinding = GetBinding();
        return __builtin_expect(pBinding != nullptr, 0) ? pBinding->GetWritableValue() : m_value;
    }

    /**
     * Passes on whether the value was written: to the binding, or else, if so, to the event's subscribers.
     */
    void Notify(bool changed) {
        if (PropertyBinding<T>* const pBinding = GetBinding(); __builtin_expect(pBinding != nullptr, 0)) {
            pBinding->Notify(changed);
        } else if (changed) {
            Announce();
        }
    }

    /**
     * Fires with the new value after every SetValue, and after every evaluation or load that wrote the value,
     * whether or not it differs from before. Not while the property is bound. The event comes into being when
     * it is first asked for; without memory for it, one is returned that nothing can be connected to.
     */
    ChangeEvent& GetChangeEvent() {
        auto* const pBlock = m_extras.NeedBlock();
        return pBlock ? pBlock->m_changeEvent : ChangeEvent::GetRefusing();
    }

    /**
     * Lets `pBinding` stand in for the stored value, which stays as it is; null ends that. The caller owns
     * it. False, with nothing changed, when out of memory, which ending it never is.
     */
    bool Bind(PropertyBinding<T>* pBinding) {
        auto* const pBlock = pBinding ? m_extras.NeedBlock() : m_extras.GetBlock();
        if (pBinding && !pBlock) {
            return false;
        }
        if (pBlock) {
            pBlock->m_pBinding = pBinding;
        }
        Mark();
        return true;
    }
    /** The binding, or null. A bound value may change at any time without a mark being set. */
    PropertyBinding<T>* GetBinding() const {
        auto const* const pBlock = m_extras.GetBlock();
        return __builtin_expect(pBlock != nullptr, 0) ? pBlock->m_pBinding : nullptr;
    }

    /** Makes `pController` the active controller. False for null or when out of memory. */
    bool AddController(Ref<Controller<T>> const& pController) {
        if (!pController || !m_extras.AppendController(pController.Get())) {
            return false;
        }
        BasePropertyGeneration::Advance();
        return true;
    }
    /** Number of controllers; the last one is active, earlier ones wait for the later ones to finish. */
    unsigned int GetControllerCount() const { return m_extras.GetControllerCount(); }
    /** Controller `nController` (0 .. GetControllerCount() - 1), borrowed. */
    Controller<T>* GetController(unsigned int nController) const {
        return m_extras.GetController(nController);
    }
    /** Drops all controllers; the value stays. */
    void RemoveControllers() { m_extras.RemoveControllers(); }

    /** Whether the property (a BaseProperty<T>) has a controller. */
    static bool IsAnimated(Property const* pProperty) {
        return static_cast<BaseProperty const*>(pProperty)->GetControllerCount() != 0;
    }

    /**
     * Lets the active controller write the value, announces it, and drops the controller once it is finished.
     */
    void Update(UpdateContext const& context, RealFloat const& frame) override {
        if (__builtin_expect(context.HasParts(frame) && Sample(context), 1)) {
            Mark();
            return;
        }
        UpdateAny(context, frame);
    }

    /**
     * What Update does at the frame that the context was made for, but for the mark, where that is nothing
     * but writing the value: one plain sample controller, no subscribers, no binding. Returns the value; null
     * elsewhere, and for a frame without parts, with nothing done. For the property's owner, who takes the
     * value over at once.
     */
    T const* Sample(UpdateContext const& context) {
        if constexpr (PropertyTraits<T>::Sampled) {
            if (__builtin_expect(m_extras.HasPlainSampler(), 1)) {
                // The one controller is known to the last detail: it never finishes.
                auto const* const pSampler = static_cast<SampleController<T>*>(m_extras.GetPlainSampler());
                return pSampler->Sample(context, m_value) ? &m_value : nullptr;
            }
        }
        return nullptr;
    }

    /**
     * Reads a "Controller" child, which becomes the active controller, or else attribute "Value". False, with
     * the property unchanged, when neither is there or it does not fit; after a controller's failure its node
     * is still pushed.
     */
    bool Load(Deserializer& deserializer) override {
        if (!deserializer.PushNode(DocumentID::Controller)) {
            bool const fLoaded = LoadValue(deserializer);
            Notify(fLoaded);
            return fLoaded;
        }
        Ref<Controller<T>> const pController(SampleController<T>::Create().Get());
        if (!pController || !pController->Load(deserializer) || !AddController(pController)) {
            return false;
        }
        deserializer.PopNode();
        return true;
    }

    /**
     * Writes "Name", then the first controller (intended (controllers-last-first)), or "Value" when there is
     * none. A controller that writes nothing is lost, which is traced; the current value stands in for it, so
     * that what is saved can be loaded. False when out of memory or when the controller refuses.
     */
    bool Save(Serializer& serializer) override {
        if (!Property::Save(serializer)) {
            return false;
        }
        if (GetControllerCount() != 0) {
            if (!GetController(0)->Save(serializer)) {
                return false;
            }
            if (detail::HasSavedController(serializer)) {
                return true;
            }
            Debug::TraceFormat(TraceLevel::Error,
                               u"[kelvo] Property %u is saved with its current value only: its controller "
                               u"writes nothing",
                               m_nID);
        }
        return PropertyTraits<T>::Write(serializer, DocumentID::Value, GetValue());
    }

    /** Reports the controllers. */
    void Emit(MemoryTracer* pTracer) override {
        for (unsigned int nController = 0; nController < GetControllerCount(); ++nController) {
            pTracer->EmitObject(GetController(nController));
        }
    }

    /** Hands `value` to the binding, or else stores it and fires the change event. */
    virtual void SetValue(T const& value) {
        if (PropertyBinding<T>* const pBinding = GetBinding(); __builtin_expect(pBinding != nullptr, 0)) {
            pBinding->SetValue(value);
            return;
        }
        m_value = value;
        Announce();
    }

    /** Sets this value from the other's current value; controllers stay. */
    virtual void Assign(BaseProperty const& other) { SetValue(other.GetValue()); }

    /**
     * Takes over the other's id, current value and controllers; the controllers are shared from then on.
     * False when out of memory, without the elements of a list or with only some of the controllers.
     */
    virtual bool Copy(BaseProperty const& other) {
        if (this == &other) {
            return true;
        }
        m_nID = other.m_nID;
        SetValue(other.GetValue());
        m_extras.RemoveControllers();
        bool const fShared = ShareControllers(other);
        return fShared && detail::IsCopied(GetValue(), other.GetValue());
    }

private:
    /** Marks the stored value as written and fires the event. */
    void Announce() {
        Mark();
        if (auto* const pBlock = m_extras.GetBlock(); __builtin_expect(pBlock != nullptr, 0)) {
            pBlock->m_changeEvent(m_value);
        }
    }

    void DropFinished() {
        // A subscriber, or the controller itself, may have removed controllers meanwhile.
        Controller<T>* const pController = m_extras.GetLastController();
        if (pController && pController->IsFinished()) {
            m_extras.RemoveLastController();
        }
    }

    /** Update with any controller, and with subscribers or a binding. */
    TREVIK_NOINLINE void UpdateAny(UpdateContext const& context, RealFloat const& frame) {
        Controller<T>* const pController = m_extras.GetLastController();
        if (!pController) {
            return;
        }
        if (PropertyBinding<T>* const pBinding = GetBinding()) {
            pBinding->Notify(pController->Evaluate(context, frame, pBinding->GetWritableValue()));
        } else if (pController->Evaluate(context, frame, m_value)) {
            Announce();
        }
        DropFinished();
    }

    /** Adds the other's controllers behind the own ones; false when memory does not suffice for all. */
    bool ShareControllers(BaseProperty const& other) {
        bool fShared = true;
        for (unsigned int nController = 0; nController < other.GetControllerCount(); ++nController) {
            fShared = AddController(Ref(other.GetController(nController))) && fShared;
        }
        return fShared;
    }

    bool LoadValue(Deserializer& deserializer) {
        unsigned char const* pData = nullptr;
        unsigned long nLength = 0;
        return deserializer.FindAttribute(DocumentID::Value, pData, nLength) &&
               PropertyTraits<T>::Read(GetWritableValue(), pData, nLength);
    }

    detail::PropertyExtras<T> m_extras; ///< controllers, event and binding
    T m_value{};
};

} // namespace trevik::kelvo
