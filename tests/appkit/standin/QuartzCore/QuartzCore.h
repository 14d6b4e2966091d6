// standin.h declares what the library uses of it.
