#ifndef KESTROVE_RUNTIME_ELEMENTREMAINS_H
#define KESTROVE_RUNTIME_ELEMENTREMAINS_H

#include <cstddef>
#include <memory>

#include "platform/BElement.h"
#include "runtime/Disposer.h"

/// A value that is destroyed little by little: from its last element on, and without any memory of
/// where it has come to, since each value knows its parent. Until an element is destroyed its
/// parent owns it, so what is left goes as a whole when this object does.
class ElementRemainsC
{
public:
    ElementRemainsC() = default;
    /// @param value a value of which nothing is used any more; null for none.
    explicit ElementRemainsC(std::unique_ptr<BElementC> value)
        : m_root(std::move(value)), m_present(m_root.get())
    {
    }

    bool IsLeft() const { return m_root != nullptr; }
    /// Destroys a part of what is left.
    ///
    /// @param steps how many elements may go, and is lowered by how many have gone.
    /// @param large what is given blocks that are large, which the system takes its time for.
    void DestroySome(std::size_t& steps, DisposerC& large);

private:
    BElementC* DestroyElements(BListC& list, std::size_t& steps, DisposerC& large);
    BElementC* DestroyEntries(BDictionaryC& dictionary, std::size_t& steps, DisposerC& large);

    std::unique_ptr<BElementC> m_root;
    BElementC* m_present = nullptr; // whose elements are being destroyed
};

#endif
