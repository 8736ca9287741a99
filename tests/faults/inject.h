#pragma once

/// What a host can say to `inject.cpp` when that is loaded before it. Without it, these are null.
extern "C" {

/// Begins to count anew, with this fault, in the form of the environment variable `FAULT`; null: with none.
__attribute__((weak)) void FaultArm(char const* fault);
/// How often a call was struck since then.
__attribute__((weak)) long FaultStrikes();
/// Calls in between are neither counted nor struck. Pairs may nest.
__attribute__((weak)) void FaultPause();
__attribute__((weak)) void FaultResume();
}
