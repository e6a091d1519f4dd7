#include "CaptureStandIn.hpp"

#include "SystemStandIn.hpp"

#include <atomic>
#include <fstream>
#include <mach/mach_time.h>
#include <mutex>

namespace brindle::test {

CaptureStandIn captureStandIn;

namespace {

std::atomic<int> liveObjects{0};
std::recursive_mutex mutex; // calls come from every thread

void note(const std::string& call) {
    const std::lock_guard lock{mutex};
    captureStandIn.calls.push_back(call);
}

/// Notes the call, or raises.
void does(const std::string& call) {
    note(call);
    if (captureStandIn.raising.contains(call)) {
        [NSException raise:NSInvalidArgumentException format:@"%s", call.c_str()];
    }
}

NSString* text(const std::string& bytes) {
    return [NSString stringWithUTF8String:bytes.c_str()];
}

NSError* failure(const std::string& description) {
    return [NSError errorWithDomain:@"AVFoundationErrorDomain"
                               code:-11800
                           userInfo:[NSDictionary dictionaryWithObject:text(description)
                                                                forKey:NSLocalizedDescriptionKey]];
}

std::string timeText(CMTime time) {
    return std::to_string(time.value) + "/" + std::to_string(time.timescale);
}

const CaptureStandIn::Device* deviceNamed(const std::string& uniqueID) {
    for (const auto& device : captureStandIn.devices) {
        if (device.uniqueID == uniqueID) {
            return &device;
        }
    }
    return nullptr;
}

} // namespace

bool CaptureStandIn::wasCalled(const std::string& call) const {
    const std::lock_guard lock{mutex};
    return std::ranges::find(calls, call) != calls.end();
}

void CaptureStandIn::reset() {
    const std::lock_guard lock{mutex};
    captureStandIn = {};
}

int captureObjects() {
    return liveObjects;
}

} // namespace brindle::test

using namespace brindle::test; // NOLINT(google-build-using-namespace)

/// What each object is: a stand-in's own record behind the pointer that its class has room for.
template <class Record, class Object>
Record& recordOf(Object* object) {
    if (object->script_ == nullptr) {
        object->script_ = new Record;
        ++liveObjects;
    }
    return *static_cast<Record*>(object->script_);
}

template <class Record, class Object>
void forget(Object* object) {
    if (object->script_ != nullptr) {
        delete static_cast<Record*>(object->script_);
        --liveObjects;
    }
}

AVMediaType const AVMediaTypeVideo = @"vide";
AVMediaType const AVMediaTypeAudio = @"soun";
AVFileType const AVFileTypeQuickTimeMovie = @"com.apple.quicktime-movie";
AVFileType const AVFileTypeMPEG4 = @"public.mpeg-4";
AVVideoCodecType const AVVideoCodecTypeH264 = @"avc1";
NSString* const AVVideoCodecKey = @"AVVideoCodecKey";
NSString* const AVVideoWidthKey = @"AVVideoWidthKey";
NSString* const AVVideoHeightKey = @"AVVideoHeightKey";
NSString* const AVVideoCompressionPropertiesKey = @"AVVideoCompressionPropertiesKey";
NSString* const AVVideoAverageBitRateKey = @"AverageBitRate";
NSString* const AVVideoExpectedSourceFrameRateKey = @"ExpectedFrameRate";
NSString* const AVVideoMaxKeyFrameIntervalKey = @"MaxKeyFrameInterval";
NSString* const AVFormatIDKey = @"AVFormatIDKey";
NSString* const AVSampleRateKey = @"AVSampleRateKey";
NSString* const AVNumberOfChannelsKey = @"AVNumberOfChannelsKey";
NSString* const AVEncoderBitRateKey = @"AVEncoderBitRateKey";
NSString* const AVErrorRecordingSuccessfullyFinishedKey =
    @"AVErrorRecordingSuccessfullyFinishedKey";
AVCaptureDeviceType const AVCaptureDeviceTypeBuiltInWideAngleCamera = @"wide";
AVCaptureDeviceType const AVCaptureDeviceTypeExternal = @"external";
AVCaptureDeviceType const AVCaptureDeviceTypeContinuityCamera = @"continuity";
AVCaptureDeviceType const AVCaptureDeviceTypeDeskViewCamera = @"desk";
AVCaptureDeviceType const AVCaptureDeviceTypeMicrophone = @"microphone";
NSString* const AVCaptureDeviceWasConnectedNotification =
    @"AVCaptureDeviceWasConnectedNotification";
NSString* const AVCaptureDeviceWasDisconnectedNotification =
    @"AVCaptureDeviceWasDisconnectedNotification";
AVCaptureSessionPreset const AVCaptureSessionPreset1920x1080 = @"1920x1080";
AVCaptureSessionPreset const AVCaptureSessionPresetHigh = @"high";
NSString* const AVCaptureSessionRuntimeErrorNotification =
    @"AVCaptureSessionRuntimeErrorNotification";
NSString* const AVCaptureSessionErrorKey = @"AVCaptureSessionErrorKey";
NSString* const AVURLAssetPreferPreciseDurationAndTimingKey =
    @"AVURLAssetPreferPreciseDurationAndTimingKey";
NSString* const AVAssetExportPresetPassthrough = @"AVAssetExportPresetPassthrough";

CMTime CMTimeMake(int64_t value, int32_t timescale) {
    return {value, timescale, 1, 0};
}

double CMTimeGetSeconds(CMTime time) {
    constexpr double none = __builtin_nan("");
    return time.flags == 0 ? none
                           : static_cast<double>(time.value) / static_cast<double>(time.timescale);
}

// ---- devices

@implementation AVFrameRateRange
- (void)dealloc {
    forget<std::pair<double, double>>(self);
    [super dealloc];
}
- (double)minFrameRate {
    return recordOf<std::pair<double, double>>(self).first;
}
- (double)maxFrameRate {
    return recordOf<std::pair<double, double>>(self).second;
}
@end

@implementation AVCaptureDeviceFormat
- (void)dealloc {
    forget<std::string>(self);
    [super dealloc];
}
- (NSArray*)videoSupportedFrameRateRanges {
    NSMutableArray* const ranges = [NSMutableArray array];
    for (const auto& range : deviceNamed(recordOf<std::string>(self))->frameRates) {
        AVFrameRateRange* const one = [[[AVFrameRateRange alloc] init] autorelease];
        recordOf<std::pair<double, double>>(one) = range;
        [ranges addObject:one];
    }
    return ranges;
}
@end

namespace {

AVCaptureDevice* deviceObject(const std::string& uniqueID) {
    AVCaptureDevice* const device = [[[AVCaptureDevice alloc] init] autorelease];
    recordOf<CaptureStandIn::Device>(device) = *deviceNamed(uniqueID);
    return device;
}

} // namespace

@implementation AVCaptureDevice
- (void)dealloc {
    forget<CaptureStandIn::Device>(self);
    [super dealloc];
}
+ (AVCaptureDevice*)deviceWithUniqueID:(NSString*)identifier {
    return deviceNamed([identifier UTF8String]) == nullptr ? nil
                                                           : deviceObject([identifier UTF8String]);
}
+ (AVCaptureDevice*)defaultDeviceWithMediaType:(AVMediaType)type {
    return captureStandIn.defaultCamera && [type isEqualToString:AVMediaTypeVideo]
               ? deviceObject(*captureStandIn.defaultCamera)
               : nil;
}
+ (AVCaptureDevice*)systemPreferredCamera {
    return captureStandIn.preferredCamera ? deviceObject(*captureStandIn.preferredCamera) : nil;
}
+ (AVAuthorizationStatus)authorizationStatusForMediaType:(AVMediaType)type {
    return captureStandIn.authorization[[type UTF8String]];
}
+ (void)requestAccessForMediaType:(AVMediaType)type
                completionHandler:(void (^)(BOOL granted))handler {
    note(std::string{"request access "} + [type UTF8String]);
    void (^const kept)(BOOL) = Block_copy(handler);
    const BOOL isGranted = captureStandIn.grantsAccess;
    onForeignThread([kept, isGranted] {
        kept(isGranted);
        Block_release(kept);
    });
}
- (NSString*)uniqueID {
    return text(recordOf<CaptureStandIn::Device>(self).uniqueID);
}
- (NSString*)localizedName {
    return text(recordOf<CaptureStandIn::Device>(self).name);
}
- (int32_t)transportType {
    return recordOf<CaptureStandIn::Device>(self).transport;
}
- (BOOL)hasMediaType:(AVMediaType)type {
    return
        [type isEqualToString:AVMediaTypeVideo] == recordOf<CaptureStandIn::Device>(self).isCamera;
}
- (BOOL)lockForConfiguration:(NSError**)error {
    note("lock");
    if (!recordOf<CaptureStandIn::Device>(self).canBeLocked) {
        *error = failure("locked");
        return NO;
    }
    return YES;
}
- (void)unlockForConfiguration {
    note("unlock");
}
- (AVCaptureDeviceFormat*)activeFormat {
    AVCaptureDeviceFormat* const format = [[[AVCaptureDeviceFormat alloc] init] autorelease];
    recordOf<std::string>(format) = recordOf<CaptureStandIn::Device>(self).uniqueID;
    return format;
}
- (void)setActiveVideoMinFrameDuration:(CMTime)duration {
    does("min frame duration " + timeText(duration));
}
- (void)setActiveVideoMaxFrameDuration:(CMTime)duration {
    does("max frame duration " + timeText(duration));
}
@end

@implementation AVCaptureDeviceDiscoverySession
- (void)dealloc {
    forget<bool>(self);
    [super dealloc];
}
+ (instancetype)discoverySessionWithDeviceTypes:(NSArray*)types
                                      mediaType:(AVMediaType)type
                                       position:(AVCaptureDevicePosition)position {
    note(
        std::string{"discover "} + [[types componentsJoinedByString:@","] UTF8String] + " " +
        [type UTF8String] + " " + std::to_string(position));
    AVCaptureDeviceDiscoverySession* const session = [[[self alloc] init] autorelease];
    recordOf<bool>(session) = [type isEqualToString:AVMediaTypeVideo];
    return session;
}
- (NSArray*)devices {
    NSMutableArray* const found = [NSMutableArray array];
    for (const auto& device : captureStandIn.devices) {
        if (device.isCamera == recordOf<bool>(self)) {
            [found addObject:deviceObject(device.uniqueID)];
        }
    }
    return found;
}
@end

@implementation AVCaptureInput
- (void)dealloc {
    forget<std::string>(self);
    [super dealloc];
}
@end

@implementation AVCaptureDeviceInput
- (instancetype)initWithDevice:(AVCaptureDevice*)device error:(NSError**)error {
    self = [super init];
    if (self != nil) {
        const auto opening = recordOf<CaptureStandIn::Device>(device).openingError;
        recordOf<std::string>(self) = [[device uniqueID] UTF8String];
        if (opening) {
            *error = failure(*opening);
            [self release];
            return nil;
        }
        if (captureStandIn.raising.contains("open")) {
            [self release];
            [NSException raise:NSInvalidArgumentException format:@"open"];
        }
    }
    return self;
}
@end

// ---- output

@implementation AVCaptureConnection
- (void)dealloc {
    forget<std::string>(self);
    [super dealloc];
}
@end

namespace {

struct Output {
    std::set<std::string> connections;                       ///< media types
    id<AVCaptureFileOutputRecordingDelegate> delegate = nil; ///< not retained
    std::string path;
    double recorded = 1.5;
    uint64_t startedAt = 0;
};

AVCaptureFileOutput* lastOutput = nil; // retained, between start and end
AVCaptureSession* lastSession = nil;   // not retained

} // namespace

@implementation AVCaptureOutput
- (void)dealloc {
    forget<Output>(self);
    [super dealloc];
}
- (AVCaptureConnection*)connectionWithMediaType:(AVMediaType)type {
    if (!recordOf<Output>(self).connections.contains([type UTF8String])) {
        return nil;
    }
    AVCaptureConnection* const connection = [[[AVCaptureConnection alloc] init] autorelease];
    recordOf<std::string>(connection) = [type UTF8String];
    return connection;
}
@end

@implementation AVCaptureFileOutput
- (void)startRecordingToOutputFileURL:(NSURL*)url
                    recordingDelegate:(id<AVCaptureFileOutputRecordingDelegate>)delegate {
    does("start recording");
    const std::lock_guard lock{mutex};
    auto& output = recordOf<Output>(self);
    output.delegate = delegate;
    output.path = [[url path] UTF8String];
    output.startedAt = mach_continuous_time();
    if (captureStandIn.writesMovies) {
        std::ofstream{output.path} << "captured";
    }
    lastOutput = [self retain];
}
- (void)stopRecording {
    does("stop recording");
    if (!captureStandIn.neverFinishes) {
        endMovie(nil);
    }
}
- (CMTime)recordedDuration {
    const std::lock_guard lock{mutex};
    constexpr int perSecond = 10;
    if (lastOutput == self && captureStandIn.writesMovies) {
        constexpr uint64_t ticksPerTenth = 100'000'000 / 125 * 3;
        const auto& output = recordOf<Output>(self);
        const auto tenths = (mach_continuous_time() - output.startedAt) / ticksPerTenth;
        std::ofstream{output.path, std::ios::app} << "more";
        return CMTimeMake(static_cast<int64_t>(tenths), perSecond);
    }
    return lastOutput == self
               ? CMTimeMake(
                     static_cast<int64_t>(recordOf<Output>(self).recorded * perSecond), perSecond)
               : CMTime{};
}
@end

@implementation AVCaptureMovieFileOutput
- (void)setMovieFragmentInterval:(CMTime)interval {
    note("fragments " + timeText(interval));
}
- (void)setOutputSettings:(NSDictionary*)settings forConnection:(AVCaptureConnection*)connection {
    const std::string& type = recordOf<std::string>(connection);
    does("settings " + type);
    // In an order of its own: sorted by key.
    std::map<std::string, std::string> sorted;
    for (NSString* key in settings) {
        const id value = [settings objectForKey:key];
        if ([value isKindOfClass:[NSDictionary class]]) {
            for (NSString* inner in static_cast<NSDictionary*>(value)) {
                sorted[std::string{[key UTF8String]} + "." + [inner UTF8String]] =
                    [[[value objectForKey:inner] description] UTF8String];
            }
        } else {
            sorted[[key UTF8String]] = [[value description] UTF8String];
        }
    }
    for (const auto& [key, value] : sorted) {
        note(key + "=" + value);
    }
}
@end

void brindle::test::endMovie(NSError* error) {
    const std::lock_guard lock{mutex};
    AVCaptureFileOutput* const output = lastOutput;
    if (output == nil) {
        return;
    }
    lastOutput = nil;
    [error retain];
    auto* const delegate = recordOf<Output>(output).delegate;
    const std::string path = recordOf<Output>(output).path;
    onForeignThread([output, error, delegate, path] {
        [delegate captureOutput:output
            didFinishRecordingToOutputFileAtURL:[NSURL fileURLWithPath:text(path)]
                                fromConnections:[NSArray array]
                                          error:error];
        [output release];
        [error release];
    });
}

// ---- session

@implementation AVCaptureSession
- (id)init {
    self = [super init];
    recordOf<std::string>(self);
    lastSession = self;
    return self;
}
- (void)dealloc {
    if (lastSession == self) {
        lastSession = nil;
    }
    forget<std::string>(self);
    [super dealloc];
}
- (void)beginConfiguration {
    note("begin");
}
- (void)commitConfiguration {
    does("commit");
}
- (BOOL)canAddInput:(AVCaptureInput*)input {
    return !captureStandIn.raising.contains("cannot add " + recordOf<std::string>(input));
}
- (void)addInput:(AVCaptureInput*)input {
    does("add " + recordOf<std::string>(input));
    recordOf<std::string>(self) +=
        deviceNamed(recordOf<std::string>(input))->isCamera ? "vide " : "soun ";
}
- (BOOL)canAddOutput:(AVCaptureOutput*)output {
    return output != nil && captureStandIn.takesOutputs;
}
- (void)addOutput:(AVCaptureOutput*)output {
    does("add output");
    for (const char* type : {"vide", "soun"}) {
        if (recordOf<std::string>(self).find(type) != std::string::npos) {
            recordOf<Output>(output).connections.insert(type);
        }
    }
}
- (BOOL)canSetSessionPreset:(AVCaptureSessionPreset)preset {
    return !captureStandIn.refusedPresets.contains([preset UTF8String]);
}
- (void)setSessionPreset:(AVCaptureSessionPreset)preset {
    does(std::string{"preset "} + [preset UTF8String]);
}
- (void)startRunning {
    does("start running");
}
- (void)stopRunning {
    does("stop running");
}
@end

void brindle::test::failSession(NSError* error) {
    NSDictionary* const info =
        error == nil ? nil
                     : [NSDictionary dictionaryWithObject:error forKey:AVCaptureSessionErrorKey];
    [[NSNotificationCenter defaultCenter]
        postNotificationName:AVCaptureSessionRuntimeErrorNotification
                      object:lastSession
                    userInfo:info];
}

// ---- movies

@implementation AVAsset
- (void)dealloc {
    forget<std::string>(self);
    [super dealloc];
}
- (CMTime)duration {
    const std::lock_guard lock{mutex};
    return captureStandIn.anyDuration ? *captureStandIn.anyDuration
                                      : captureStandIn.durations.at(recordOf<std::string>(self));
}
- (void)loadValuesAsynchronouslyForKeys:(NSArray*)keys completionHandler:(void (^)(void))handler {
    note(std::string{"load "} + [[keys componentsJoinedByString:@","] UTF8String]);
    void (^const kept)(void) = Block_copy(handler);
    onForeignThread([kept] {
        kept();
        Block_release(kept);
    });
}
- (AVKeyValueStatus)statusOfValueForKey:(NSString*)key error:(NSError**)error {
    static_cast<void>(key);
    static_cast<void>(error);
    const std::lock_guard lock{mutex};
    constexpr AVKeyValueStatus failed = 3;
    return captureStandIn.anyDuration ||
                   captureStandIn.durations.contains(recordOf<std::string>(self))
               ? AVKeyValueStatusLoaded
               : failed;
}
@end

@implementation AVURLAsset
+ (instancetype)URLAssetWithURL:(NSURL*)url options:(NSDictionary*)options {
    AVURLAsset* const asset = [[[self alloc] init] autorelease];
    recordOf<std::string>(asset) = [[url path] UTF8String];
    note(
        std::string{"asset precise="} +
        [[[options objectForKey:AVURLAssetPreferPreciseDurationAndTimingKey] description]
            UTF8String]);
    return asset;
}
@end

namespace {

struct Export {
    std::string source;
    std::string output;
    long status = 0;
    NSError* error = nil;
    void (^completion)(void) = nil;
    ~Export() {
        [error release];
        if (completion != nil) {
            Block_release(completion);
        }
    }
};

std::vector<AVAssetExportSession*> waitingExports; // retained

} // namespace

@interface AVAssetExportSession (StandIn)
- (void)end;
@end

namespace {

/// One that is retained until then.
void endOnForeignThread(AVAssetExportSession* session) {
    onForeignThread([session] {
        [session end];
        [session release];
    });
}

} // namespace

@implementation AVAssetExportSession
- (instancetype)initWithAsset:(AVAsset*)asset presetName:(NSString*)preset {
    self = [super init];
    if (!captureStandIn.exportCanBeMade ||
        ![preset isEqualToString:AVAssetExportPresetPassthrough]) {
        [self release];
        return nil;
    }
    recordOf<Export>(self).source = recordOf<std::string>(asset);
    return self;
}
- (void)dealloc {
    forget<Export>(self);
    [super dealloc];
}
- (NSArray*)supportedFileTypes {
    NSMutableArray* const types = [NSMutableArray array];
    for (const auto& type : captureStandIn.exportTypes) {
        [types addObject:text(type)];
    }
    return types;
}
- (void)setOutputURL:(NSURL*)url {
    recordOf<Export>(self).output = [[url path] UTF8String];
}
- (void)setOutputFileType:(AVFileType)type {
    does(std::string{"export as "} + [type UTF8String]);
}
- (void)end {
    auto& self_ = recordOf<Export>(self);
    void (^completion)(void) = nil;
    {
        const std::lock_guard lock{mutex};
        if (self_.status != 5) {
            self_.status = captureStandIn.exportEnds;
        }
        if (captureStandIn.exportError) {
            self_.error = [failure(*captureStandIn.exportError) retain];
        }
        if (captureStandIn.exportWrites) {
            std::ofstream{self_.output} << *captureStandIn.exportWrites;
        }
        completion = std::exchange(self_.completion, nil);
    }
    completion();
    Block_release(completion); // it may hold this session
}
- (void)exportAsynchronouslyWithCompletionHandler:(void (^)(void))handler {
    does("export");
    auto& self_ = recordOf<Export>(self);
    self_.completion = Block_copy(handler);
    self_.status = 2;
    [self retain];
    if (captureStandIn.exportWaits) {
        waitingExports.push_back(self);
        return;
    }
    endOnForeignThread(self);
}
- (void)cancelExport {
    const std::lock_guard lock{mutex};
    recordOf<Export>(self).status = 5;
    if (std::erase(waitingExports, self) != 0) {
        endOnForeignThread(self);
    }
}
- (AVAssetExportSessionStatus)status {
    const std::lock_guard lock{mutex};
    return recordOf<Export>(self).status;
}
- (NSError*)error {
    const std::lock_guard lock{mutex};
    return recordOf<Export>(self).error;
}
- (float)progress {
    return 0.25F;
}
@end

void brindle::test::endExports() {
    for (AVAssetExportSession* const session : std::exchange(waitingExports, {})) {
        endOnForeignThread(session);
    }
}
