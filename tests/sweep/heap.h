/** @file Refuses what the library asks the C heap for. */
#pragma once

namespace sweep {

/** Whether the C heap of this build can be stood in for. */
bool can_refuse_heap_requests();

/**
 * Has the n-th request fail that is made from now on by the library or on its behalf, by functions
 * that it calls; what the platform asks for itself is not counted.
 */
void refuse_heap_request(int nth);

/** Ends that. @return whether there were so many requests. */
bool stop_refusing_heap_requests();

}  // namespace sweep
