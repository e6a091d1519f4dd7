#pragma once
#include <CoreFoundation/CoreFoundation.h>
#include <dispatch/dispatch.h>
#include <stdint.h>
#ifdef __cplusplus
extern "C" {
#endif
#ifdef __APPLE__
#include <MacTypes.h>
#else
typedef int32_t OSStatus; // coreservices/osstatus
typedef uint32_t UInt32; // kernel/uint32
typedef int32_t SInt32; // kernel/sint32
enum { noErr = 0 }; // coreservices/1559716-noerr
#endif
typedef UInt32 AudioObjectID; // coreaudio/audioobjectid
typedef UInt32 AudioObjectPropertySelector; // coreaudio/audioobjectpropertyselector
typedef UInt32 AudioObjectPropertyScope; // coreaudio/audioobjectpropertyscope
typedef UInt32 AudioObjectPropertyElement; // coreaudio/audioobjectpropertyelement
typedef struct AudioObjectPropertyAddress { AudioObjectPropertySelector mSelector; AudioObjectPropertyScope mScope; AudioObjectPropertyElement mElement; } AudioObjectPropertyAddress; // coreaudio/audioobjectpropertyaddress
enum : AudioObjectID {
    kAudioObjectUnknown = 0, // coreaudio/kaudioobjectunknown
    kAudioObjectSystemObject = 1 // coreaudio/kaudioobjectsystemobject
};
enum : UInt32 {
    kAudioObjectPropertyScopeGlobal = 'glob', // coreaudio/kaudioobjectpropertyscopeglobal
    kAudioObjectPropertyElementMain = 0, // coreaudio/kaudioobjectpropertyelementmain
    kAudioHardwarePropertyProcessObjectList = 'prs#', // coreaudio/kaudiohardwarepropertyprocessobjectlist
    kAudioHardwarePropertyDefaultInputDevice = 'dIn ', // coreaudio/kaudiohardwarepropertydefaultinputdevice
    kAudioProcessPropertyPID = 'ppid', // coreaudio/kaudioprocesspropertypid
    kAudioProcessPropertyBundleID = 'pbid', // coreaudio/kaudioprocesspropertybundleid
    kAudioProcessPropertyIsRunningInput = 'piri', // coreaudio/kaudioprocesspropertyisrunninginput
    kAudioDevicePropertyDeviceUID = 'uid ', // coreaudio/kaudiodevicepropertydeviceuid
    kAudioDevicePropertyDeviceIsRunningSomewhere = 'gone', // coreaudio/kaudiodevicepropertydeviceisrunningsomewhere
    kAudioDeviceTransportTypeBuiltIn = 'bltn', // coreaudio/kaudiodevicetransporttypebuiltin
    kAudioFormatMPEG4AAC = 'aac ' // coreaudiotypes/kaudioformatmpeg4aac
};
typedef void (^AudioObjectPropertyListenerBlock)(UInt32 count, const AudioObjectPropertyAddress* addresses); // coreaudio/audioobjectpropertylistenerblock
OSStatus AudioObjectGetPropertyDataSize(AudioObjectID object, const AudioObjectPropertyAddress* address, UInt32 qualifierSize, const void* qualifier, UInt32* size); // coreaudio/audioobjectgetpropertydatasize(_:_:_:_:_:)
OSStatus AudioObjectGetPropertyData(AudioObjectID object, const AudioObjectPropertyAddress* address, UInt32 qualifierSize, const void* qualifier, UInt32* size, void* data); // coreaudio/audioobjectgetpropertydata(_:_:_:_:_:_:)
OSStatus AudioObjectAddPropertyListenerBlock(AudioObjectID object, const AudioObjectPropertyAddress* address, dispatch_queue_t queue, AudioObjectPropertyListenerBlock listener); // coreaudio/audioobjectaddpropertylistenerblock(_:_:_:_:)
OSStatus AudioObjectRemovePropertyListenerBlock(AudioObjectID object, const AudioObjectPropertyAddress* address, dispatch_queue_t queue, AudioObjectPropertyListenerBlock listener); // coreaudio/audioobjectremovepropertylistenerblock(_:_:_:_:)
#ifdef __cplusplus
}
#endif
