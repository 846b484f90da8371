// What a torrent file says about itself.
// The folder, whatever its name, holds the reader of torrents and what it needs; there is no preview in it.
#pragma once

#import <Foundation/Foundation.h>

// The record of one torrent, read once by initWithFile: and never changed afterwards.
//
// The getters return what the record holds, neither copied nor retained: it lives as long as the
// record does. A record belongs to one thread while it is being made.
@interface TorrentInfo : NSObject {
  NSMutableArray* trackers;
  NSMutableArray* webSeeds;
  NSMutableDictionary* files;
  NSDate* createdOn;
  NSString* name;
  NSString* creator;
  NSString* comment;
  unsigned long long pieceSize;
  signed char privateTorrent;
  unsigned int numPieces;
  unsigned long long totalSize;
}

// The announce URLs of all tiers in file order, duplicates kept.
@property(nonatomic, readonly) NSMutableArray* trackers;
// The web seeds' URLs in file order.
@property(nonatomic, readonly) NSMutableArray* webSeeds;
// The size of each file, a signed 64-bit number, by its path: the cleaned components of a list's file,
// or the torrent's name, as it stands, of a single one. The keys keep the order of the file; of several
// files of one path the last one's size is kept.
@property(nonatomic, readonly) NSMutableDictionary* files;
// The epoch when the torrent gives no date. The low 32 bits of its seconds count, as signed.
@property(nonatomic, readonly) NSDate* createdOn;
@property(nonatomic, readonly) NSString* name;
// Nil when the torrent has none.
@property(nonatomic, readonly) NSString* creator;
@property(nonatomic, readonly) NSString* comment;
// Bytes per piece, 16384 to 33554432.
@property(nonatomic, readonly) unsigned long long pieceSize;
@property(nonatomic, readonly) signed char privateTorrent;
// 1 to 1048575.
@property(nonatomic, readonly) unsigned int numPieces;
// The lengths of all files, added up modulo 2^64.
@property(nonatomic, readonly) unsigned long long totalSize;

// Reads the torrent at `path`. Nil, and nothing is reported, when the file cannot be read, has more
// than 256 MiB or is no usable torrent.
- (id)initWithFile:(NSString*)path;

// Fills the fields from the file at `path`, in the order in which the file's keys are asked for.
// Returns whether it is a usable torrent; after NO the fields read so far are set.
- (BOOL)parseTorrentFile:(NSString*)path;

@end

@interface NSString (NSStringAdditions)

// A string made from the wide text `s`; nil when that is null, and "" when the platform refuses it, as
// it does all characters above U+FFFF: each half of their pairs is sent as UTF-8 of its own. A byte order
// mark in front may be lost.
+ (NSString*)stringWithTStr:(const wchar_t*)s;

@end
