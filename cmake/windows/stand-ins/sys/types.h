/* As stdio.h here. */
#include <stddef.h>
