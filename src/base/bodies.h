// A row loop in several bodies, of which the level of instructions picks one.
#pragma once

#include <array>

#include "base/level.h"

/// Inlined whatever the compiler thinks of it: bodies that are cloned, all that their loops call, and what takes or
/// gives a vector of the vocabulary, since its way of travelling would depend on the registers that the compiler may
/// use.
#define KWINLINE __attribute__((always_inline))

/// Before a loop whose rounds do not depend on each other though their pointers may be the same; before one of a few
/// rounds, at most 16, that are written out; before one whose rounds are not.
#if defined(__clang__)
#define KWNODEPENDENCE _Pragma("clang loop vectorize(assume_safety)")
#define KWUNROLL _Pragma("clang loop unroll(full)")
#define KWROLL _Pragma("clang loop unroll(disable)")
#else
#define KWNODEPENDENCE _Pragma("GCC ivdep")
#define KWUNROLL _Pragma("GCC unroll 16")
#define KWROLL _Pragma("GCC unroll 1")
#endif

/// One body and the least level that it needs.
template <class Function>
struct tKwBody {
    eKwLevel level;
    Function* body;
};
template <class Function>
tKwBody(eKwLevel, Function*) -> tKwBody<Function>;

template <auto Body>
struct tKwCloner;
template <class Result, class... Args, Result (*Body)(Args...)>
struct tKwCloner<Body> {
    using tBody = tKwBody<Result(Args...)>;
    static Result Base(Args... args) { return Body(args...); }
#if defined(__x86_64__)
    [[gnu::target("arch=x86-64-v3")]] static Result V3(Args... args) {
        return Body(args...);
    }
    [[gnu::target("arch=x86-64-v4")]] static Result V4(Args... args) {
        return Body(args...);
    }
    static constexpr std::array<tBody, 3> kAll{{ {eKwLevel::Base, Base}, {eKwLevel::V3, V3}, { eKwLevel::V4, V4 } }};
#else
    static constexpr std::array<tBody, 1> kAll{{{eKwLevel::Base, Base}}};
#endif
};

/// `Body` compiled for each generation of processors that a loop gains by. It has to be always inlined, and so has all
/// that it calls in its loop.
template <auto Body>
inline constexpr auto KwClones = tKwCloner<Body>::kAll;

/// Three bodies of one loop, each compiled for one generation alone: what works on vectors that are as wide as the
/// registers of SSE2, AVX2 and AVX-512.
#if defined(__x86_64__)
template <auto Narrow, auto Middle, auto Wide>
inline constexpr std::array KwWidths{KwClones<Narrow>[0], KwClones<Middle>[1], KwClones<Wide>[2]};
#else
template <auto Narrow, auto, auto>
inline constexpr auto KwWidths = KwClones<Narrow>;
#endif

/// A kernel's choice. Called like a function, it runs the body of the highest level at or below `KwLevel()`. All bodies
/// give the bytes of the plain one, which is the definition: the shortest form, without regard for speed.
template <class Function>
class CKwBodies;
template <class Result, class... Args>
class CKwBodies<Result(Args...)> {
  public:
    using tBody = Result (*)(Args...);

    /// @param fast groups of bodies, each sorted by level; a later group stands above an earlier one at the same level
    template <class... Fast>
    constexpr explicit CKwBodies(tBody plain, const Fast&... fast) {
        m_bodies.fill(plain);
        (Take(fast), ...);
    }
    /// A loop that is its own definition.
    template <std::size_t kCount>
    constexpr explicit CKwBodies(const std::array<tKwBody<Result(Args...)>, kCount>& clones)
        : CKwBodies(clones[0].body, clones) {}

    Result operator()(Args... args) const { return m_bodies[static_cast<std::size_t>(KwLevel())](args...); }

    /// The same choice for a caller with many rows.
    tBody Now() const { return m_bodies[static_cast<std::size_t>(KwLevel())]; }

  private:
    constexpr void Take(const tKwBody<Result(Args...)>& fast) {
        for (std::size_t i = static_cast<std::size_t>(fast.level); i < m_bodies.size(); ++i) m_bodies[i] = fast.body;
    }
    template <std::size_t kCount>
    constexpr void Take(const std::array<tKwBody<Result(Args...)>, kCount>& fast) {
        for (const auto& body : fast) Take(body);
    }

    std::array<tBody, kKwLevels> m_bodies{};
};
template <class Result, class... Args, class... Fast>
CKwBodies(Result (*)(Args...), const Fast&...) -> CKwBodies<Result(Args...)>;
template <class Function, std::size_t kCount>
CKwBodies(const std::array<tKwBody<Function>, kCount>&) -> CKwBodies<Function>;
