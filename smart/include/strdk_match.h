// The pattern matcher of the string kit: one left-to-right scanner over four
// wildcards that decides every "does this name fit" question of the library (log file
// names, directory sweeps, path classes, name filters). It is neither a regular
// expression engine nor a glob with classes, and it never backtracks over what a
// placed segment matched. It can report which stretch of the text each wildcard took.
//
// Pattern characters:
//   *  any run, empty included (a run of stars acts as one)
//   ?  exactly one code unit
//   #  one decimal digit; with msf_sharp_digit_run a run of digits; with
//      msf_sharp_literal only `#`; msf_sharp_hex adds a-f and A-F to the digits.
//      A `#` in the text is matched by `#` in every mode.
//   $  with msf_dollar_identifier an identifier (a letter or `_`, then letters, `_`
//      and digits, or only letters and `_` when `#` follows), else a literal
//   other characters are literals (msf_ignore_case folds ASCII letters only;
//      msf_slash_equal lets `\` and `/` in the pattern take either in the text)
//
//   MatchingString("log20240102030405.log", "log##############.log") -> true
//   MatchingString("a1b2b3c", "a*b*c") -> true, ranges (1,1) (3,3): the first "b"
//     is placed at the first b, the last segment "c" against the text's end
//   MatchingString("abc1", "$#", msf_dollar_identifier) -> true, (0,3) (3,1)
//
// Each routine is one template over the code unit, for `char` and `char16_t`.
#pragma once

#include "strdk.h"

// The stretch of the text that one wildcard covered.
struct WildcardRange {
    int offset;
    int length;
};

// Whether `patterns` (terminated) matches the whole of `str` (strLen < 0: terminated).
// `ranges`, when given, receives one record per wildcard that matched, in pattern
// order, and `idxWildcard` their count; the caller sizes `ranges` for one record per
// wildcard character of the pattern. A null pattern matches only a null text; a null
// text with a pattern is reported and gives false. With msf_sharp_digit_run a pattern
// holding "##", and with msf_dollar_identifier one holding "$$", matches nothing.
template <class TCHAR>
bool MatchingString(const TCHAR* str, const NonDeduced<TCHAR>* patterns, int flags = 0,
                    int strLen = -1, WildcardRange* ranges = nullptr, int* idxWildcard = nullptr);

// `patterns` is a list of tokens separated by `,`, `;` or `|` (no escapes, no quotes).
// With allMustMatch 0 one token is enough and empty tokens are skipped; otherwise
// every token, an empty one too, must match, so "a,,b" fails on any non-empty text.
//   ("a.txt", "*.log;;*.txt") -> true;  with allMustMatch -> false
template <class TCHAR>
bool MatchingMultiPatterns(const TCHAR* str, const NonDeduced<TCHAR>* patterns,
                           int allMustMatch = 0, int flags = 0, int strLen = -1);

// The same list walk for file names: msf_ignore_case and msf_slash_equal are added and
// each token goes through MatchingFileName with its fixed spellings.
template <class TCHAR>
bool MatchingFileNames(const TCHAR* str, const NonDeduced<TCHAR>* patterns, int allMustMatch = 0,
                       int flags = 0, int strLen = -1);

// One token. With isFileName, "*." (or "**.") means "no extension": the name behind the
// last `\` or `/` is non-empty and holds no dot; "*.*" (stars on both sides of one dot)
// matches everything, empty text too. Any other token, and every token without
// isFileName, is MatchingString, so "*.log" wants a literal dot.
//   "readme" ~ "*." -> true;  "dir.x\readme" ~ "*." -> true;  "readme" ~ "*.*" -> true
template <class TCHAR>
bool MatchingFileName(bool isFileName, int flags, const TCHAR* str, int strLen,
                      const NonDeduced<TCHAR>* pattern, int patternLen = -1);

// Whether a program file name (a path is cut to its last component) is a Java
// launcher, whose executable directory means nothing to the program it runs: java,
// javaw, javaws, with or without ".exe", in any case. The directory beside the
// executable is then taken to be the current directory.
//   "/usr/lib/jvm/bin/java" -> true;  "JAVAW.EXE" -> true;  "javac" -> false
bool IsJavaLauncher(const char* programPath);
