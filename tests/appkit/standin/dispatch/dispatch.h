// The main queue alone.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef struct standin_queue* dispatch_queue_t;
typedef void (*dispatch_function_t)(void*);

dispatch_queue_t dispatch_get_main_queue(void);
void dispatch_async_f(dispatch_queue_t queue, void* context, dispatch_function_t work);

#ifdef __cplusplus
}
#endif
