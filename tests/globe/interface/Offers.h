/// How the tests in this folder say what the globe library must offer: the members of osgEarth 2.10 that we, or
/// tools made for another host, may call. A member that is missing or has another signature does not compile;
/// one without a definition does not link.
#pragma once

#include <osgEarth/optional>

#include <type_traits>
#include <utility>

namespace globetest {

/// A member, function or variable of exactly this type, given by its address.
template<typename Signature>
void offers(Signature address) {
    [[maybe_unused]] volatile Signature kept = address; // so that the linker has to find it
}

/// An accessor `optional<Value>& name()` of a class, given by its address.
template<typename Class, typename Value>
void offersOption(osgEarth::optional<Value>& (Class::*accessor)()) {
    offers(accessor);
}

/// A getter `Value name() const` and a setter `void name(Value)` of a class.
template<typename Class, typename Value>
void offersProperty(Value (Class::*getter)() const, void (Class::*setter)(Value)) {
    offers(getter);
    offers(setter);
}

/// What a constructor with these arguments makes; also where the destructor is protected.
template<typename Class, typename... Arguments>
using Made = decltype(new Class(std::declval<Arguments>()...));

/// Constructors, each given as a list of argument types.
template<typename Class, typename... Arguments>
constexpr bool kMakes = std::is_same_v<Made<Class, Arguments...>, Class*>;

} // namespace globetest
