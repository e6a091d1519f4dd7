#pragma once
#include <stdint.h>
#ifdef __cplusplus
extern "C" {
#endif
typedef int64_t CMTimeValue; // coremedia/cmtimevalue
typedef int32_t CMTimeScale; // coremedia/cmtimescale
typedef struct { CMTimeValue value; CMTimeScale timescale; uint32_t flags; int64_t epoch; } CMTime; // coremedia/cmtime-api
CMTime CMTimeMake(int64_t value, int32_t timescale); // coremedia/cmtime/init(value:timescale:)
double CMTimeGetSeconds(CMTime time); // coremedia/cmtime/seconds
#ifdef __cplusplus
}
#endif
