/**
 * @file
 * The heap from which callers get blocks. Each block is one of the C heap, with nothing around it,
 * so that memory checkers see its exact bounds; sizes are kept beside, which tells foreign blocks
 * apart.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include "origin.h"

namespace host::heap {

/** Null when memory is exhausted. */
void* allocate(std::size_t size);

/**
 * Resizes a block, or allocates one for null.
 * @param[in] operation name of the caller, for a message about a block that is none.
 * @param[out] old_size size before.
 * @return null, and the block stays, when memory is exhausted or the block is none.
 */
void* reallocate(const char* operation, void* block, std::size_t size, std::size_t* old_size);

/** Frees a block; null is none, and of a block that is not ours a message says so. */
void release(const char* operation, void* block);

/** Makes the nth allocation from now on, counted from 1, yield nothing; 0 takes that back. */
void fail_allocation(int nth);

/** Has the process tell what was not freed when it ends, see origin.h. */
void report_blocks();

/** The number of the next block whose origin is kept; they are numbered as they are handed out. */
std::uint64_t next_number();

/**
 * What was not freed of the blocks from a number on. Each is told of once: who asks for what came
 * before asks for the rest.
 */
BlocksByOrigin take_left_since(std::uint64_t number);

/** What was not freed. */
std::size_t block_count();
std::size_t block_bytes();

}  // namespace host::heap
