#pragma once

/// How many threads a decoder may use, its caller's included.
enum class DecodeThreads { One, Two };

/// What image files are decoded with: two threads where there is a second
/// processor, unless setDecodeThreads() said otherwise.
DecodeThreads decodeThreads();

/// For a process that is one of several at work.
void setDecodeThreads(DecodeThreads threads);
