#ifndef KESTROVE_CORE_FUNCTORS_H
#define KESTROVE_CORE_FUNCTORS_H

/// Callable objects that an application hands to the library. An application derives from the
/// template that it needs. The slots are fixed: first the call operator, then the destructor.
namespace Core::Functors {

/// A callable object of one argument.
template <typename Result, typename Argument1>
class Functor1
{
public:
    virtual Result operator()(Argument1 argument1) = 0;
    virtual ~Functor1() = default;
};

/// A callable object of two arguments.
template <typename Result, typename Argument1, typename Argument2>
class Functor2
{
public:
    virtual Result operator()(Argument1 argument1, Argument2 argument2) = 0;
    virtual ~Functor2() = default;
};

/// A callable object of three arguments.
template <typename Result, typename Argument1, typename Argument2, typename Argument3>
class Functor3
{
public:
    virtual Result operator()(Argument1 argument1, Argument2 argument2, Argument3 argument3) = 0;
    virtual ~Functor3() = default;
};

/// A callable object of four arguments.
template <typename Result, typename Argument1, typename Argument2, typename Argument3,
          typename Argument4>
class Functor4
{
public:
    virtual Result operator()(Argument1 argument1, Argument2 argument2, Argument3 argument3,
                              Argument4 argument4) = 0;
    virtual ~Functor4() = default;
};

/// A callable object of five arguments.
template <typename Result, typename Argument1, typename Argument2, typename Argument3,
          typename Argument4, typename Argument5>
class Functor5
{
public:
    virtual Result operator()(Argument1 argument1, Argument2 argument2, Argument3 argument3,
                              Argument4 argument4, Argument5 argument5) = 0;
    virtual ~Functor5() = default;
};

} // namespace Core::Functors

#endif
