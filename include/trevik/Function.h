#pragma once

#include "trevik/Memory.h"

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

namespace trevik {

template <class Signature>
class function;

/** An operation bound to the object that it is called on; made by member_function. */
template <class Object, class Method>
class MemberFunction {
public:
    /** A method of an object, which is borrowed. */
    MemberFunction(Object* object, Method method) : m_pObject(object), m_pfnMethod(method) {}

    /** Calls the method on the object. */
    template <class... Args>
    decltype(auto) operator()(Args&&... args) const {
        return (m_pObject->*m_pfnMethod)(std::forward<Args>(args)...);
    }

    bool operator==(MemberFunction const& other) const {
        return m_pObject == other.m_pObject && m_pfnMethod == other.m_pfnMethod;
    }

private:
    Object* m_pObject;
    Method m_pfnMethod;
};

/**
 * A callable that calls an operation of an object, virtual ones included. It does not keep the object alive.
 * Two of them are equal when object and operation are.
 */
template <class Object, class Class, class R, class... Args>
inline MemberFunction<Class, R (Class::*)(Args...)> member_function(Object* object,
                                                                    R (Class::*method)(Args...)) {
    return MemberFunction<Class, R (Class::*)(Args...)>(object, method);
}

template <class Object, class Class, class R, class... Args>
inline MemberFunction<Class const, R (Class::*)(Args...) const>
member_function(Object const* object, R (Class::*method)(Args...) const) {
    return MemberFunction<Class const, R (Class::*)(Args...) const>(object, method);
}

namespace detail {

template <class T, class = void>
struct HasEquality : std::false_type {};
template <class T>
struct HasEquality<T, std::void_t<decltype(bool(std::declval<T const&>() == std::declval<T const&>()))>>
    : std::true_type {};

/** Its address names the type, without run-time type information. */
template <class T>
struct TypeTag {
    static constexpr char s_tag = 0;
};

/** The callable that a function holds, without its type. */
template <class R, class... Args>
class Callable {
public:
    Callable() : m_fDisconnected(false) {}
    Callable(Callable const&) = delete;
    Callable& operator=(Callable const&) = delete;

    virtual R Invoke(Args... args) = 0;
    virtual Callable* Clone() const = 0;
    virtual bool IsEqual(Callable const& other) const = 0;
    virtual void const* GetTypeTag() const = 0;
    virtual ~Callable() {}

    static void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
        return AllocateMemory(size);
    }
    static void operator delete(void* memory, std::nothrow_t const&) noexcept { FreeMemory(memory); }
    static void operator delete(void* memory) noexcept { FreeMemory(memory); }

    /** An event's own mark: disconnected, and to be deleted as soon as it cannot be running any more. */
    bool m_fDisconnected;
};

template <class F, class R, class... Args>
class CallableOf final : public Callable<R, Args...> {
public:
    using Base = Callable<R, Args...>;

    explicit CallableOf(F const& target) : m_target(target) {}

    R Invoke(Args... args) override { return m_target(std::forward<Args>(args)...); }

    Base* Clone() const override { return new (std::nothrow) CallableOf(m_target); }

    bool IsEqual([[maybe_unused]] Base const& other) const override {
        if constexpr (HasEquality<F>::value) {
            return other.GetTypeTag() == GetTypeTag() &&
                   m_target == static_cast<CallableOf const&>(other).m_target;
        } else {
            return false;
        }
    }

    void const* GetTypeTag() const override { return &TypeTag<F>::s_tag; }

private:
    F m_target;
};

} // namespace detail

/**
 * Holds any callable with this signature: a free function, an object with an operator(), a lambda, or an
 * object with one of its operations (member_function). A copy holds its own copy of the callable. It is empty
 * by default, after construction from null, and when there was no memory for the callable; calling an empty
 * one does nothing and returns the result type's default value.
 *
 * Two are equal when both are empty, or when both hold callables of one type that compare equal: free
 * functions, member functions, and objects that have an operator==. A lambda that captures something equals
 * nothing, not even its own copies; one that captures nothing compares as a free function does.
 */
template <class R, class... Args>
class function<R(Args...)> {
public:
    function() : m_pCallable(nullptr) {}
    /** Empty. */
    function(std::nullptr_t) : m_pCallable(nullptr) {}

    /**
     * From anything that can be called this way, which is copied; empty from a null pointer, and without
     * memory.
     */
    template <class F, class Target = std::decay_t<F>,
              class = std::enable_if_t<!std::is_same<Target, function>::value &&
                                       std::is_invocable_r<R, Target&, Args...>::value>>
    function(F&& target) : m_pCallable(nullptr) {
        if constexpr (std::is_pointer<std::remove_reference_t<F>>::value) {
            if (!target) {
                return;
            }
        }
        m_pCallable = new (std::nothrow) detail::CallableOf<Target, R, Args...>(target);
    }

    function(function const& other) : m_pCallable(other.m_pCallable ? other.m_pCallable->Clone() : nullptr) {}
    function(function&& other) noexcept : m_pCallable(other.Detach()) {}
    ~function() { delete m_pCallable; }

    /** Becomes the other one; what it held is let go. */
    function& operator=(function other) noexcept {
        std::swap(m_pCallable, other.m_pCallable);
        return *this;
    }

    /** Whether there is something to call. */
    explicit operator bool() const { return m_pCallable != nullptr; }

    /** Calls it and answers what it answers; empty, it does nothing and answers a default value. */
    R operator()(Args... args) const {
        if (!m_pCallable) {
            return R();
        }
        return m_pCallable->Invoke(std::forward<Args>(args)...);
    }

    /** Whether both are empty, or hold equal callables of one type. */
    bool operator==(function const& other) const {
        if (!m_pCallable || !other.m_pCallable) {
            return m_pCallable == other.m_pCallable;
        }
        return m_pCallable->IsEqual(*other.m_pCallable);
    }
    bool operator!=(function const& other) const { return !(*this == other); }

    /** Gives up the callable, which the caller then owns; for events. */
    detail::Callable<R, Args...>* Detach() noexcept {
        detail::Callable<R, Args...>* const callable = m_pCallable;
        m_pCallable = nullptr;
        return callable;
    }

    /** The callable, still owned by this; null when empty. */
    detail::Callable<R, Args...>* Get() const { return m_pCallable; }

private:
    detail::Callable<R, Args...>* m_pCallable;
};

} // namespace trevik
