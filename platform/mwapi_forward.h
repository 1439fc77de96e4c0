// SPDX-License-Identifier: Apache-2.0
// Where the sixteen C functions lead. The functions themselves are in mwapi_forward.cpp, which a program or
// library contains once.
#ifndef MWAPI_FORWARD_H
#define MWAPI_FORWARD_H

#include "platform.h"

namespace mwapi
{

/// What a function returns when the platform threw an exception; MwErr2Text then gives the exception's text
/// on the same thread.
inline constexpr std::uint32_t PLATFORM_THREW = 0xE3000001;

/// The platform of a program that has installed none, asked for when the first function is called (and again
/// when it is called after uninstall()), perhaps on several threads at once. Every program and library that
/// contains the functions defines it. It must not install a platform itself.
Platform& program_platform();

/// Makes this the platform that the functions call, from the next call on. It must live until another one is
/// installed or uninstall() was called, and until the calls that were on their way by then have returned.
/// Thread-safe.
void install(Platform& platform);
/// Forgets the platform: the next call asks for program_platform(). Thread-safe.
void uninstall();

} // namespace mwapi

#endif
