#ifndef KESTROVE_RUNTIME_SPAREMEMORY_H
#define KESTROVE_RUNTIME_SPAREMEMORY_H

#include <cstddef>
#include <memory>
#include <vector>

/// Memory that a thread keeps for the time when there is none: what its loop needs to go on, and
/// that nobody could do without, is then made of it. Work that may fail, since it can be refused to
/// whoever wants it, has none of it (see RefusableC).
///
/// Takes the place of the process's new-handler while it lives. Each thread may have one of its
/// own, which serves that thread alone.
///
/// Thread safety: none; lives on its thread.
class SpareMemoryC
{
public:
    /// In pieces, which fit into what has been given back by others when it is to be had again.
    static constexpr std::size_t kPieceBytes = std::size_t{64} * 1024;

    /// While it lives, allocations of this thread fail where there is no memory for them.
    class RefusableC
    {
    public:
        /// @param applies whether it has an effect.
        explicit RefusableC(bool applies);
        ~RefusableC();
        RefusableC(const RefusableC&) = delete;
        RefusableC& operator=(const RefusableC&) = delete;

    private:
        const bool m_before;
    };

    /// Puts aside as much of it as there is.
    explicit SpareMemoryC(std::size_t bytes);
    ~SpareMemoryC();
    SpareMemoryC(const SpareMemoryC&) = delete;
    SpareMemoryC& operator=(const SpareMemoryC&) = delete;

    /// Puts aside anew what has been used.
    ///
    /// @return whether all of it is there again.
    bool Refill();
    /// Whether all of it is there.
    bool IsWhole() const { return m_pieces.size() == m_most; }

private:
    static void GiveOut();

    const std::size_t m_most;
    std::vector<std::unique_ptr<char[]>> m_pieces;
};

#endif
