#pragma once

// The codes of the errors that the library raises and of the bad statuses that it sets. The numbers
// are the contract: they never change, and ZanError::getErrcode() returns them. Several names share
// a number where one number has several meanings. docs/errors.md says what raises each and what a
// client can do about it.
namespace QelErrorCode {

// General, and attributes: 1 to 24.
inline constexpr int notComputed = 1;
inline constexpr int streamDataGood = 1;
inline constexpr int wrongClass = 2;
inline constexpr int misuse = 3;
inline constexpr int nullPointer = 4;
inline constexpr int noNamesGiven = 6;
inline constexpr int outOfRange = 7;
inline constexpr int unsupported = 9;
inline constexpr int unexpectedException = 10;
inline constexpr int memoryLeak = 11;
inline constexpr int limitExceeded = 11;
inline constexpr int invalidValue = 13;
inline constexpr int noSuchAttribute = 20;
inline constexpr int attributeLocked = 21;
inline constexpr int attributesInconsistent = 22;
inline constexpr int endlessCallbacks = 23;
inline constexpr int illegalAttributeName = 24;

// Connection points: 50 to 70.
inline constexpr int incompatiblePoints = 50;
inline constexpr int noSuchPointIndex = 51;
inline constexpr int noSuchPoint = 52;
inline constexpr int pointNameTaken = 52;
inline constexpr int notOwnInput = 53;
inline constexpr int cannotConnect = 59;
inline constexpr int cannotDisconnect = 60;
inline constexpr int differentAggregates = 61;
inline constexpr int wrongDirection = 62;
inline constexpr int notConnectedHere = 63;
inline constexpr int notConnected = 67;
inline constexpr int sameTransform = 68;
inline constexpr int primaryPoint = 69;
inline constexpr int noPrimaryInput = 70;

// Transforms, ops, and images of sizes that do not match: 100 to 130.
inline constexpr int noStatusMessage = 100;
inline constexpr int noSuchInput = 102;
inline constexpr int notAnImage = 105;
inline constexpr int notOwnOutput = 108;
inline constexpr int transformRenders = 110;
inline constexpr int pointHasOwner = 111;
inline constexpr int notCopyConstructed = 117;
inline constexpr int unsupportedDataType = 118;
inline constexpr int wrongPixelFormat = 119;
inline constexpr int badRequest = 122;
inline constexpr int invalidInput = 123;
inline constexpr int noRegion = 124;
inline constexpr int setupFailed = 125;
inline constexpr int noMatchingResolution = 127;
inline constexpr int pixelCountsDiffer = 128;

// Iterators, organisations of data, and rescaling: 150 to 153.
inline constexpr int simpleDataOrgNeeded = 150;
inline constexpr int outOfBounds = 151;
inline constexpr int unevenBandOffsets = 152;
inline constexpr int invalidDataOrg = 153;
inline constexpr int cannotRescale = 153;

// Tile containers: 180 and 181.
inline constexpr int tilePresent = 180;
inline constexpr int notATile = 181;

// Rendering: 200 to 206.
inline constexpr int renderFailed = 203;
inline constexpr int cancelled = 204;

// Values, units and dimensions: 300 to 313.
inline constexpr int noSuchUnit = 300;
inline constexpr int unitNotRegistered = 301;
inline constexpr int unitReserved = 302;
inline constexpr int unitTaken = 303;
inline constexpr int illegalDotsPerUnit = 303;
inline constexpr int illegalUnitMultiplier = 304;
inline constexpr int notAStandardUnit = 305;
inline constexpr int cannotConvertUnit = 306;
inline constexpr int lengthsDiffer = 307;
inline constexpr int invertedRange = 308;
inline constexpr int illegalWidth = 309;
inline constexpr int illegalFactor = 310;
inline constexpr int cannotConvertDimension = 311;
inline constexpr int unsuitableUnit = 312;

// Boxes, resolutions and coordinate spaces: 400 to 413.
inline constexpr int countsDiffer = 400;
inline constexpr int noDimensions = 401;
inline constexpr int unsuitableResolution = 402;
inline constexpr int arbitraryResolution = 403;
inline constexpr int noSuchDimension = 404;
inline constexpr int noSamples = 405;
inline constexpr int zeroPixelsWide = 407;
inline constexpr int zeroPixelsHigh = 408;
inline constexpr int noSuchResolution = 409;
inline constexpr int noSelectedResolution = 410;
inline constexpr int illegalExtent = 411;
inline constexpr int illegalWorldWidth = 412;
inline constexpr int illegalWorldHeight = 413;

// Operations on images: 600 to 605.
inline constexpr int noCommonResolution = 600;
inline constexpr int noPixelSource = 602;
inline constexpr int unsuitableType = 603;

}  // namespace QelErrorCode
