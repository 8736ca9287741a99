#pragma once

/// Marks a class or function as part of the interface of its library.
///
/// All libraries of the tree are compiled with hidden visibility, so that only what is marked can be reached from
/// outside. One macro serves all of them, for shared and static builds alike, as nothing differs between building a
/// library and using it.
///
/// A class template or an inline function with static data that must be one object per process needs the mark too:
/// without it each library gets an object of its own.
#define VELSDK_EXPORT __attribute__((visibility("default")))
