#import "BrindleRecorderMac/Foundation/RaisedException.h"

NSException* BrindleExceptionRaisedBy(void (*work)(void*), void* context) {
    @try {
        work(context);
    } @catch (NSException* exception) {
        return [exception retain];
    }
    return nil;
}
