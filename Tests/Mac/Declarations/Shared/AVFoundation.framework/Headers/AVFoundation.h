#pragma once
#import <CoreMedia/CoreMedia.h>
#import <Foundation/Foundation.h>
#ifdef __cplusplus
extern "C" {
#endif
// Where the tests stand in for the framework, its objects have a place for what a test says of them.
#ifdef BRINDLE_STAND_IN
#define SCRIPTED { @public void* script_; }
#else
#define SCRIPTED
#endif
typedef NSString* AVMediaType; // avfoundation/avmediatype
extern AVMediaType const AVMediaTypeVideo; // avfoundation/avmediatype/video
extern AVMediaType const AVMediaTypeAudio; // avfoundation/avmediatype/audio
typedef NSString* AVFileType; // avfoundation/avfiletype
extern AVFileType const AVFileTypeQuickTimeMovie; // avfoundation/avfiletype/mov
extern AVFileType const AVFileTypeMPEG4; // avfoundation/avfiletype/mp4
typedef NSString* AVVideoCodecType; // avfoundation/avvideocodectype
extern AVVideoCodecType const AVVideoCodecTypeH264; // avfoundation/avvideocodectype/h264
extern NSString* const AVVideoCodecKey; // avfoundation/avvideocodeckey
extern NSString* const AVVideoWidthKey; // avfoundation/avvideowidthkey
extern NSString* const AVVideoHeightKey; // avfoundation/avvideoheightkey
extern NSString* const AVVideoCompressionPropertiesKey; // avfoundation/avvideocompressionpropertieskey
extern NSString* const AVVideoAverageBitRateKey; // avfoundation/avvideoaveragebitratekey
extern NSString* const AVVideoExpectedSourceFrameRateKey; // avfoundation/avvideoexpectedsourceframeratekey
extern NSString* const AVVideoMaxKeyFrameIntervalKey; // avfoundation/avvideomaxkeyframeintervalkey
extern NSString* const AVFormatIDKey; // avfaudio/avformatidkey
extern NSString* const AVSampleRateKey; // avfaudio/avsampleratekey
extern NSString* const AVNumberOfChannelsKey; // avfaudio/avnumberofchannelskey
extern NSString* const AVEncoderBitRateKey; // avfaudio/avencoderbitratekey
extern NSString* const AVErrorRecordingSuccessfullyFinishedKey; // avfoundation/averrorrecordingsuccessfullyfinishedkey
typedef NSInteger AVAuthorizationStatus; // avfoundation/avauthorizationstatus
enum : AVAuthorizationStatus {
    AVAuthorizationStatusNotDetermined = 0, // avfoundation/avauthorizationstatus/notdetermined
    AVAuthorizationStatusRestricted = 1, // avfoundation/avauthorizationstatus/restricted
    AVAuthorizationStatusDenied = 2, // avfoundation/avauthorizationstatus/denied
    AVAuthorizationStatusAuthorized = 3 // avfoundation/avauthorizationstatus/authorized
};
typedef NSInteger AVCaptureDevicePosition; // avfoundation/avcapturedevice/position-swift.enum
enum : AVCaptureDevicePosition { AVCaptureDevicePositionUnspecified = 0 }; // avfoundation/avcapturedevice/position-swift.enum/unspecified
typedef NSString* AVCaptureDeviceType; // avfoundation/avcapturedevice/devicetype-swift.struct
extern AVCaptureDeviceType const AVCaptureDeviceTypeBuiltInWideAngleCamera; // avfoundation/avcapturedevice/devicetype-swift.struct/builtinwideanglecamera
extern AVCaptureDeviceType const AVCaptureDeviceTypeExternal; // avfoundation/avcapturedevice/devicetype-swift.struct/external
extern AVCaptureDeviceType const AVCaptureDeviceTypeContinuityCamera; // avfoundation/avcapturedevice/devicetype-swift.struct/continuitycamera
extern AVCaptureDeviceType const AVCaptureDeviceTypeDeskViewCamera; // avfoundation/avcapturedevice/devicetype-swift.struct/deskviewcamera
extern AVCaptureDeviceType const AVCaptureDeviceTypeMicrophone; // avfoundation/avcapturedevice/devicetype-swift.struct/microphone
extern NSString* const AVCaptureDeviceWasConnectedNotification; // avfoundation/avcapturedevice/wasconnectednotification
extern NSString* const AVCaptureDeviceWasDisconnectedNotification; // avfoundation/avcapturedevice/wasdisconnectednotification
@interface AVFrameRateRange : NSObject SCRIPTED // avfoundation/avframeraterange
- (double)minFrameRate; // avfoundation/avframeraterange/minframerate
- (double)maxFrameRate; // avfoundation/avframeraterange/maxframerate
@end
@interface AVCaptureDeviceFormat : NSObject SCRIPTED // avfoundation/avcapturedevice/format
- (NSArray*)videoSupportedFrameRateRanges; // avfoundation/avcapturedevice/format/videosupportedframerateranges
@end
@interface AVCaptureDevice : NSObject SCRIPTED // avfoundation/avcapturedevice
+ (AVCaptureDevice*)deviceWithUniqueID:(NSString*)identifier; // avfoundation/avcapturedevice/init(uniqueid:)
+ (AVCaptureDevice*)defaultDeviceWithMediaType:(AVMediaType)type; // avfoundation/avcapturedevice/default(for:)
+ (AVCaptureDevice*)systemPreferredCamera; // avfoundation/avcapturedevice/systempreferredcamera
+ (AVAuthorizationStatus)authorizationStatusForMediaType:(AVMediaType)type; // avfoundation/avcapturedevice/authorizationstatus(for:)
+ (void)requestAccessForMediaType:(AVMediaType)type completionHandler:(void (^)(BOOL granted))handler; // avfoundation/avcapturedevice/requestaccess(for:completionhandler:)
- (NSString*)uniqueID; // avfoundation/avcapturedevice/uniqueid
- (NSString*)localizedName; // avfoundation/avcapturedevice/localizedname
- (int32_t)transportType; // avfoundation/avcapturedevice/transporttype
- (BOOL)hasMediaType:(AVMediaType)type; // avfoundation/avcapturedevice/hasmediatype(_:)
- (BOOL)lockForConfiguration:(NSError**)error; // avfoundation/avcapturedevice/lockforconfiguration()
- (void)unlockForConfiguration; // avfoundation/avcapturedevice/unlockforconfiguration()
- (AVCaptureDeviceFormat*)activeFormat; // avfoundation/avcapturedevice/activeformat
- (void)setActiveVideoMinFrameDuration:(CMTime)duration; // avfoundation/avcapturedevice/activevideominframeduration
- (void)setActiveVideoMaxFrameDuration:(CMTime)duration; // avfoundation/avcapturedevice/activevideomaxframeduration
@end
@interface AVCaptureDeviceDiscoverySession : NSObject SCRIPTED // avfoundation/avcapturedevice/discoverysession
+ (instancetype)discoverySessionWithDeviceTypes:(NSArray*)types mediaType:(AVMediaType)type position:(AVCaptureDevicePosition)position; // avfoundation/avcapturedevice/discoverysession/init(devicetypes:mediatype:position:)
- (NSArray*)devices; // avfoundation/avcapturedevice/discoverysession/devices
@end
@interface AVCaptureInput : NSObject SCRIPTED // avfoundation/avcaptureinput
@end
@interface AVCaptureDeviceInput : AVCaptureInput // avfoundation/avcapturedeviceinput
- (instancetype)initWithDevice:(AVCaptureDevice*)device error:(NSError**)error; // avfoundation/avcapturedeviceinput/init(device:)
@end
@interface AVCaptureConnection : NSObject SCRIPTED // avfoundation/avcaptureconnection
@end
@interface AVCaptureOutput : NSObject SCRIPTED // avfoundation/avcaptureoutput
- (AVCaptureConnection*)connectionWithMediaType:(AVMediaType)type; // avfoundation/avcaptureoutput/connection(with:)
@end
@protocol AVCaptureFileOutputRecordingDelegate;
@interface AVCaptureFileOutput : AVCaptureOutput // avfoundation/avcapturefileoutput
- (void)startRecordingToOutputFileURL:(NSURL*)url recordingDelegate:(id<AVCaptureFileOutputRecordingDelegate>)delegate; // avfoundation/avcapturefileoutput/startrecording(to:recordingdelegate:)
- (void)stopRecording; // avfoundation/avcapturefileoutput/stoprecording()
- (CMTime)recordedDuration; // avfoundation/avcapturefileoutput/recordedduration
@end
@protocol AVCaptureFileOutputRecordingDelegate // avfoundation/avcapturefileoutputrecordingdelegate
- (void)captureOutput:(AVCaptureFileOutput*)output didFinishRecordingToOutputFileAtURL:(NSURL*)url fromConnections:(NSArray*)connections error:(NSError*)error; // avfoundation/avcapturefileoutputrecordingdelegate/fileoutput(_:didfinishrecordingto:from:error:)
@end
@interface AVCaptureMovieFileOutput : AVCaptureFileOutput // avfoundation/avcapturemoviefileoutput
- (void)setMovieFragmentInterval:(CMTime)interval; // avfoundation/avcapturemoviefileoutput/moviefragmentinterval
- (void)setOutputSettings:(NSDictionary*)settings forConnection:(AVCaptureConnection*)connection; // avfoundation/avcapturemoviefileoutput/setoutputsettings(_:for:)
@end
typedef NSString* AVCaptureSessionPreset; // avfoundation/avcapturesession/preset
extern AVCaptureSessionPreset const AVCaptureSessionPreset1920x1080; // avfoundation/avcapturesession/preset/hd1920x1080
extern AVCaptureSessionPreset const AVCaptureSessionPresetHigh; // avfoundation/avcapturesession/preset/high
extern NSString* const AVCaptureSessionRuntimeErrorNotification; // avfoundation/avcapturesession/runtimeerrornotification
extern NSString* const AVCaptureSessionErrorKey; // avfoundation/avcapturesessionerrorkey
@interface AVCaptureSession : NSObject SCRIPTED // avfoundation/avcapturesession
- (void)beginConfiguration; // avfoundation/avcapturesession/beginconfiguration()
- (void)commitConfiguration; // avfoundation/avcapturesession/commitconfiguration()
- (BOOL)canAddInput:(AVCaptureInput*)input; // avfoundation/avcapturesession/canaddinput(_:)
- (void)addInput:(AVCaptureInput*)input; // avfoundation/avcapturesession/addinput(_:)
- (BOOL)canAddOutput:(AVCaptureOutput*)output; // avfoundation/avcapturesession/canaddoutput(_:)
- (void)addOutput:(AVCaptureOutput*)output; // avfoundation/avcapturesession/addoutput(_:)
- (BOOL)canSetSessionPreset:(AVCaptureSessionPreset)preset; // avfoundation/avcapturesession/cansetsessionpreset(_:)
- (void)setSessionPreset:(AVCaptureSessionPreset)preset; // avfoundation/avcapturesession/sessionpreset
- (void)startRunning; // avfoundation/avcapturesession/startrunning()
- (void)stopRunning; // avfoundation/avcapturesession/stoprunning()
@end
extern NSString* const AVURLAssetPreferPreciseDurationAndTimingKey; // avfoundation/avurlassetpreferprecisedurationandtimingkey
typedef NSInteger AVKeyValueStatus; // avfoundation/avkeyvaluestatus
enum : AVKeyValueStatus { AVKeyValueStatusLoaded = 2 }; // avfoundation/avkeyvaluestatus/loaded
@interface AVAsset : NSObject SCRIPTED // avfoundation/avasset
- (CMTime)duration; // avfoundation/avasset/duration
- (void)loadValuesAsynchronouslyForKeys:(NSArray*)keys completionHandler:(void (^)(void))handler; // avfoundation/avasynchronouskeyvalueloading/loadvaluesasynchronously(forkeys:completionhandler:)
- (AVKeyValueStatus)statusOfValueForKey:(NSString*)key error:(NSError**)error; // avfoundation/avasynchronouskeyvalueloading/statusofvalue(forkey:error:)
@end
@interface AVURLAsset : AVAsset // avfoundation/avurlasset
+ (instancetype)URLAssetWithURL:(NSURL*)url options:(NSDictionary*)options; // avfoundation/avurlasset/init(url:options:)
@end
extern NSString* const AVAssetExportPresetPassthrough; // avfoundation/avassetexportpresetpassthrough
typedef NSInteger AVAssetExportSessionStatus; // avfoundation/avassetexportsession/status-swift.enum
enum : AVAssetExportSessionStatus { AVAssetExportSessionStatusCompleted = 3 }; // avfoundation/avassetexportsession/status-swift.enum/completed
@interface AVAssetExportSession : NSObject SCRIPTED // avfoundation/avassetexportsession
- (instancetype)initWithAsset:(AVAsset*)asset presetName:(NSString*)preset; // avfoundation/avassetexportsession/init(asset:presetname:)
- (NSArray*)supportedFileTypes; // avfoundation/avassetexportsession/supportedfiletypes
- (void)setOutputURL:(NSURL*)url; // avfoundation/avassetexportsession/outputurl
- (void)setOutputFileType:(AVFileType)type; // avfoundation/avassetexportsession/outputfiletype
- (void)exportAsynchronouslyWithCompletionHandler:(void (^)(void))handler; // avfoundation/avassetexportsession/exportasynchronously(completionhandler:)
- (void)cancelExport; // avfoundation/avassetexportsession/cancelexport()
- (AVAssetExportSessionStatus)status; // avfoundation/avassetexportsession/status-swift.property
- (NSError*)error; // avfoundation/avassetexportsession/error
- (float)progress; // avfoundation/avassetexportsession/progress
@end
#ifdef __cplusplus
}
#endif
