#include "platform/macos/MacHttpClient.h"

#import <Foundation/Foundation.h>

#include <string>
#include <utility>

namespace {

std::string toString(NSString* s) {
    const char* utf8 = s.UTF8String;
    return utf8 ? std::string(utf8) : std::string();
}

}  // namespace

// Reads one data task's reply into a bounded body. The task's own delegate (the shared
// session keeps no per-request state), called on the session's delegate queue: it appends
// what arrives straight into the result's body, cancels the task once the decoded body goes
// past the limit, and delivers the result exactly once when the task completes.
@interface QueltoBoundedReply : NSObject <NSURLSessionDataDelegate>
- (instancetype)initWithCompletion:(std::function<void(quelto::HttpResult)>)completion;
@end

@implementation QueltoBoundedReply {
    std::function<void(quelto::HttpResult)> _completion;
    quelto::HttpResult _result;
    std::string _body;
    bool _tooLarge;
}

- (instancetype)initWithCompletion:(std::function<void(quelto::HttpResult)>)completion {
    if ((self = [super init])) {
        _completion = std::move(completion);
        _tooLarge = false;
    }
    return self;
}

- (void)URLSession:(NSURLSession*)session
              dataTask:(NSURLSessionDataTask*)dataTask
    didReceiveResponse:(NSURLResponse*)response
     completionHandler:(void (^)(NSURLSessionResponseDisposition))completionHandler {
    if ([response isKindOfClass:[NSHTTPURLResponse class]])
        _result.statusCode = static_cast<int>(((NSHTTPURLResponse*)response).statusCode);
    _body.clear();
    long long announced = response.expectedContentLength;  // -1 when unknown
    if (announced > static_cast<long long>(quelto::HttpClient::maxBodyBytes)) {
        _tooLarge = true;
        completionHandler(NSURLSessionResponseCancel);
        return;
    }
    completionHandler(NSURLSessionResponseAllow);
}

- (void)URLSession:(NSURLSession*)session
          dataTask:(NSURLSessionDataTask*)dataTask
    didReceiveData:(NSData*)data {
    if (_tooLarge) return;
    // The data arrives decoded, so a compressed reply counts by what it expands to.
    if (data.length > quelto::HttpClient::maxBodyBytes - _body.size()) {
        _tooLarge = true;
        _body.clear();
        _body.shrink_to_fit();
        [dataTask cancel];
        return;
    }
    std::string* body = &_body;
    [data enumerateByteRangesUsingBlock:^(const void* bytes, NSRange range, BOOL*) {
      body->append(static_cast<const char*>(bytes), range.length);
    }];
}

- (void)URLSession:(NSURLSession*)session
                    task:(NSURLSessionTask*)task
    didCompleteWithError:(NSError*)error {
    if (!_completion) return;
    quelto::HttpResult result = std::move(_result);
    if (_tooLarge) {
        // Not a network error (the cancellation was ours): a failure with no detail.
        result.bodyTooLarge = true;
    } else if (error) {
        result.transportError = toString(error.localizedDescription);
    } else {
        result.body = std::move(_body);
    }
    auto deliver = std::move(_completion);
    _completion = nullptr;
    deliver(std::move(result));
}

@end

namespace quelto::mac {

namespace {

NSString* toNSString(const std::string& s) {
    return [[NSString alloc] initWithBytes:s.data() length:s.size() encoding:NSUTF8StringEncoding];
}

}  // namespace

void MacHttpClient::send(const HttpRequest& request, std::function<void(HttpResult)> completion) {
    @autoreleasepool {
        NSString* address = toNSString(request.url);
        NSURL* url = address ? [NSURL URLWithString:address] : nil;
        if (!url) {
            // Same path as every other failure: the completion runs later, on another queue.
            HttpResult result;
            NSError* error = [NSError errorWithDomain:NSURLErrorDomain
                                                 code:NSURLErrorBadURL
                                             userInfo:nil];
            result.transportError = toString(error.localizedDescription);
            auto deliver = std::move(completion);
            dispatch_async(dispatch_get_global_queue(QOS_CLASS_UTILITY, 0), ^{
              deliver(result);
            });
            return;
        }

        NSURLRequestCachePolicy policy = request.ignoreLocalCache
                                             ? NSURLRequestReloadIgnoringLocalCacheData
                                             : NSURLRequestUseProtocolCachePolicy;
        NSMutableURLRequest* urlRequest =
            [NSMutableURLRequest requestWithURL:url
                                    cachePolicy:policy
                                timeoutInterval:request.timeoutSeconds];
        NSString* method = toNSString(request.method);
        if (method.length > 0) urlRequest.HTTPMethod = method;
        for (const auto& [name, value] : request.headers) {
            NSString* field = toNSString(name);
            NSString* text = toNSString(value);
            if (field && text) [urlRequest setValue:text forHTTPHeaderField:field];
        }

        // No completion handler: the task's delegate reads the reply, so nothing ever holds
        // more of it than the limit. The task keeps its delegate until it completes.
        NSURLSessionDataTask* task = [NSURLSession.sharedSession dataTaskWithRequest:urlRequest];
        task.delegate = [[QueltoBoundedReply alloc] initWithCompletion:std::move(completion)];
        [task resume];
    }
}

}  // namespace quelto::mac
