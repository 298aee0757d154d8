/* What the public header needs of the vendor's C library, whose own headers are not at hand. */
typedef struct _iobuf FILE;
