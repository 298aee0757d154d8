/**
 * @file
 * The platform's allocator. Blocks that the platform hands out come from here, and so do blocks
 * that a caller hands to the platform to keep.
 */
#ifndef ORK_MEM_H
#define ORK_MEM_H

#include <stddef.h>

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Allocates a block.
 * @param[in] size size in bytes; 0 yields a block that may only be freed or resized.
 * @return the block, aligned for every type, contents undefined; null when memory is exhausted.
 */
ORK_API void* MEM_alloc(size_t size);

/**
 * Resizes a block, keeping its contents up to the smaller size.
 * @param[in] block a block from this allocator, or null to allocate a new one.
 * @param[in] size new size in bytes.
 * @return the block, perhaps moved; null when memory is exhausted, and then the old block stays.
 */
ORK_API void* MEM_realloc(void* block, size_t size);

/**
 * Resizes an array; elements beyond its old end are zeroed.
 * @param[in] block a block from this allocator, or null to allocate a new one.
 * @param[in] count new number of elements.
 * @param[in] element_size size of one element in bytes.
 * @return as `MEM_realloc`; null also when the product does not fit.
 */
ORK_API void* MEM_crealloc(void* block, size_t count, size_t element_size);

/**
 * Frees a block.
 * @param[in] block a block from this allocator; null is ignored.
 */
ORK_API void MEM_free(void* block);

#ifdef __cplusplus
}
#endif

#endif
