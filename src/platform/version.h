// The version of this build, named on the banner, the About screen, in
// Benchmarks.txt and in compressed digit file headers. Kept in one place.
#pragma once

inline constexpr const char* programName = "numbrella";
inline constexpr const char* versionBuild = "0.4.3 Build 7681";
inline constexpr const char* versionTarget = "x64 SSE3";
inline constexpr const char* versionLine = "0.4.3 Build 7681 (x64 SSE3)";
