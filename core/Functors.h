#ifndef KESTROVE_CORE_FUNCTORS_H
#define KESTROVE_CORE_FUNCTORS_H

/// @file
/// Functors: how an application takes events.

#include <type_traits>
#include <utility>

/// Callable objects that an application hands to the library. An application derives from the
/// template that it needs. The slots are fixed: first the call operator, then the destructor.
namespace Core::Functors {

/// A callable object of one argument.
template <typename Result, typename Argument1>
class Functor1
{
public:
    /// What the application wants done. Runs on the thread that calls.
    ///
    /// @param argument1 has the meaning and unit described where the functor is handed over.
    /// @return what is described there likewise.
    virtual Result operator()(Argument1 argument1) = 0;
    /// Destroys the application's object whole.
    virtual ~Functor1() = default;
};

/// A callable object of two arguments.
template <typename Result, typename Argument1, typename Argument2>
class Functor2
{
public:
    /// What the application wants done, as in Functor1.
    ///
    /// @param argument1,argument2 have the meanings and units described where the functor is handed
    ///        over.
    /// @return what is described there likewise.
    virtual Result operator()(Argument1 argument1, Argument2 argument2) = 0;
    /// Destroys the application's object whole.
    virtual ~Functor2() = default;
};

/// A callable object of three arguments.
template <typename Result, typename Argument1, typename Argument2, typename Argument3>
class Functor3
{
public:
    /// What the application wants done, as in Functor1.
    ///
    /// @param argument1,argument2,argument3 have the meanings and units described where the functor
    ///        is handed over.
    /// @return what is described there likewise.
    virtual Result operator()(Argument1 argument1, Argument2 argument2, Argument3 argument3) = 0;
    /// Destroys the application's object whole.
    virtual ~Functor3() = default;
};

/// A callable object of four arguments.
template <typename Result, typename Argument1, typename Argument2, typename Argument3,
          typename Argument4>
class Functor4
{
public:
    /// What the application wants done, as in Functor1.
    ///
    /// @param argument1,argument2,argument3,argument4 have the meanings and units described where
    ///        the functor is handed over.
    /// @return what is described there likewise.
    virtual Result operator()(Argument1 argument1, Argument2 argument2, Argument3 argument3,
                              Argument4 argument4) = 0;
    /// Destroys the application's object whole.
    virtual ~Functor4() = default;
};

/// A callable object of five arguments.
template <typename Result, typename Argument1, typename Argument2, typename Argument3,
          typename Argument4, typename Argument5>
class Functor5
{
public:
    /// What the application wants done, as in Functor1.
    ///
    /// @param argument1,argument2,argument3,argument4,argument5 have the meanings and units
    ///        described where the functor is handed over.
    /// @return what is described there likewise.
    virtual Result operator()(Argument1 argument1, Argument2 argument2, Argument3 argument3,
                              Argument4 argument4, Argument5 argument5) = 0;
    /// Destroys the application's object whole.
    virtual ~Functor5() = default;
};

// How a functor is built from anything that can be called. Applications use MakeFunctor() and
// MakeFunctor1() to MakeFunctor5(), below; the rest serves these.
namespace Detail {

/// The functor template of so many arguments.
template <typename Result, typename... Arguments>
struct FunctorOf;
template <typename Result, typename A1>
struct FunctorOf<Result, A1>
{
    using Type = Functor1<Result, A1>;
};
template <typename Result, typename A1, typename A2>
struct FunctorOf<Result, A1, A2>
{
    using Type = Functor2<Result, A1, A2>;
};
template <typename Result, typename A1, typename A2, typename A3>
struct FunctorOf<Result, A1, A2, A3>
{
    using Type = Functor3<Result, A1, A2, A3>;
};
template <typename Result, typename A1, typename A2, typename A3, typename A4>
struct FunctorOf<Result, A1, A2, A3, A4>
{
    using Type = Functor4<Result, A1, A2, A3, A4>;
};
template <typename Result, typename A1, typename A2, typename A3, typename A4, typename A5>
struct FunctorOf<Result, A1, A2, A3, A4, A5>
{
    using Type = Functor5<Result, A1, A2, A3, A4, A5>;
};

/// A functor that holds a callable and passes its calls on to it.
template <typename Callable, typename Result, typename... Arguments>
class CallableFunctor final : public FunctorOf<Result, Arguments...>::Type
{
public:
    explicit CallableFunctor(Callable callable) : m_callable(std::move(callable)) {}

    Result operator()(Arguments... arguments) override
    {
        // Nothing is touched after the call, in which the functor may have been deleted.
        if constexpr (std::is_void_v<Result>) {
            m_callable(std::forward<Arguments>(arguments)...);
        } else {
            return m_callable(std::forward<Arguments>(arguments)...);
        }
    }

private:
    Callable m_callable;
};

/// Makes the functor with the signature of a call operator.
template <typename Signature>
struct SignatureOf;
template <typename Class, typename Result, typename... Arguments>
struct SignatureOf<Result (Class::*)(Arguments...)>
{
    template <typename Callable>
    using Functor = CallableFunctor<Callable, Result, Arguments...>;
};
template <typename Class, typename Result, typename... Arguments>
struct SignatureOf<Result (Class::*)(Arguments...) const>
    : SignatureOf<Result (Class::*)(Arguments...)>
{
};
template <typename Class, typename Result, typename... Arguments>
struct SignatureOf<Result (Class::*)(Arguments...) noexcept>
    : SignatureOf<Result (Class::*)(Arguments...)>
{
};
template <typename Class, typename Result, typename... Arguments>
struct SignatureOf<Result (Class::*)(Arguments...) const noexcept>
    : SignatureOf<Result (Class::*)(Arguments...)>
{
};

} // namespace Detail

/// Builds a functor from a lambda or another object with one call operator; result and arguments
/// are those of the operator:
///
///     api.SetOffsetCallback(Core::Functors::MakeFunctor([](double offset) { Show(offset); }));
///
/// @param callable is moved or copied into the functor and destroyed with it.
/// @return a new functor, of the template for so many arguments. It belongs to whomever it is
///         handed to; who keeps it deletes it.
template <typename Callable, typename CallOperator = decltype(&Callable::operator())>
[[nodiscard]] auto MakeFunctor(Callable callable)
{
    using Functor = typename Detail::SignatureOf<CallOperator>::template Functor<Callable>;
    return new Functor(std::move(callable));
}

/// Builds a functor from a function, by the rules of the overload for lambdas.
///
/// @param function the function; must not be null.
/// @return as from the overload for lambdas.
template <typename Result, typename... Arguments>
[[nodiscard]] auto MakeFunctor(Result (*function)(Arguments...))
{
    return new Detail::CallableFunctor<Result (*)(Arguments...), Result, Arguments...>(function);
}

/// Builds a functor of one argument from anything that can be called with it, also where the types
/// cannot be deduced, as from a generic lambda. The result of a callable is dropped when `Result`
/// is void.
///
/// @param callable is moved or copied into the functor and destroyed with it.
/// @return as MakeFunctor().
template <typename Result, typename Argument1, typename Callable>
[[nodiscard]] Functor1<Result, Argument1>* MakeFunctor1(Callable callable)
{
    return new Detail::CallableFunctor<Callable, Result, Argument1>(std::move(callable));
}

/// MakeFunctor1() for two arguments.
///
/// @param callable is moved or copied into the functor and destroyed with it.
/// @return as MakeFunctor().
template <typename Result, typename Argument1, typename Argument2, typename Callable>
[[nodiscard]] Functor2<Result, Argument1, Argument2>* MakeFunctor2(Callable callable)
{
    return new Detail::CallableFunctor<Callable, Result, Argument1, Argument2>(std::move(callable));
}

/// MakeFunctor1() for three arguments.
///
/// @param callable is moved or copied into the functor and destroyed with it.
/// @return as MakeFunctor().
template <typename Result, typename Argument1, typename Argument2, typename Argument3,
          typename Callable>
[[nodiscard]] Functor3<Result, Argument1, Argument2, Argument3>* MakeFunctor3(Callable callable)
{
    return new Detail::CallableFunctor<Callable, Result, Argument1, Argument2, Argument3>(
        std::move(callable));
}

/// MakeFunctor1() for four arguments.
///
/// @param callable is moved or copied into the functor and destroyed with it.
/// @return as MakeFunctor().
template <typename Result, typename Argument1, typename Argument2, typename Argument3,
          typename Argument4, typename Callable>
[[nodiscard]] Functor4<Result, Argument1, Argument2, Argument3, Argument4>*
MakeFunctor4(Callable callable)
{
    return new Detail::CallableFunctor<Callable, Result, Argument1, Argument2, Argument3,
                                       Argument4>(std::move(callable));
}

/// MakeFunctor1() for five arguments.
///
/// @param callable is moved or copied into the functor and destroyed with it.
/// @return as MakeFunctor().
template <typename Result, typename Argument1, typename Argument2, typename Argument3,
          typename Argument4, typename Argument5, typename Callable>
[[nodiscard]] Functor5<Result, Argument1, Argument2, Argument3, Argument4, Argument5>*
MakeFunctor5(Callable callable)
{
    return new Detail::CallableFunctor<Callable, Result, Argument1, Argument2, Argument3, Argument4,
                                       Argument5>(std::move(callable));
}

} // namespace Core::Functors

#endif
