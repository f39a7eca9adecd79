#include "platform/macos/MacHttpClient.h"

#import <Foundation/Foundation.h>

#include <string>
#include <utility>

namespace quelto::mac {

namespace {

NSString* toNSString(const std::string& s) {
    return [[NSString alloc] initWithBytes:s.data() length:s.size() encoding:NSUTF8StringEncoding];
}

std::string toString(NSString* s) {
    const char* utf8 = s.UTF8String;
    return utf8 ? std::string(utf8) : std::string();
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

        auto deliver = std::move(completion);
        NSURLSessionDataTask* task = [NSURLSession.sharedSession
            dataTaskWithRequest:urlRequest
              completionHandler:^(NSData* data, NSURLResponse* response, NSError* error) {
                HttpResult result;
                if (error) result.transportError = toString(error.localizedDescription);
                if ([response isKindOfClass:[NSHTTPURLResponse class]])
                    result.statusCode = static_cast<int>(((NSHTTPURLResponse*)response).statusCode);
                if (data) {
                    const void* bytes = data.bytes;
                    result.body = bytes ? std::string(static_cast<const char*>(bytes), data.length)
                                        : std::string();
                }
                deliver(std::move(result));
              }];
        [task resume];
    }
}

}  // namespace quelto::mac
