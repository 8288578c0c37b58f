#pragma once

/// How the globe shows a second picture of the ground beside its usual one: mixed into it, or left of a line that the user
/// drags.
enum class Comparison { Off, Blend, Swipe };
