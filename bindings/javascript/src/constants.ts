/** The numbers of the interface, named as in the C header without its prefixes. */

/** Template formats. */
export const TemplateType = { NATIVE: 2001, ISO19794_2: 2002, ANSI378: 2003 } as const;
export type TemplateType = (typeof TemplateType)[keyof typeof TemplateType];

/** Status codes; all but OK are thrown as `VxmError`. */
export const Status = {
  OK: 0,
  ERROR: -1,
  ERR_NOT_SUPPORTED: -111,
  ERR_INVALID_PARAMETERS: -112,
  ERR_DATA_CORRUPTED: -113,
  ERR_MATCH_TIMEOUT: -401,
  ERR_MATCH_ABORTED: -402,
  ERR_TEMPLATE_TYPE: -411,
} as const;
export type Status = (typeof Status)[keyof typeof Status];

/** Parameter ids that `Matcher` has properties for. */
export const Parameter = {
  VERSION: 210,
  COPYRIGHT: 211,
  FAST_MODE: 301,
  SECURITY_LEVEL: 302,
  RETRY_TURNED: 321,
} as const;

/** Security levels, from lenient to strict. */
export const SECURITY_LEVELS = [1, 2, 3, 4, 5, 6, 7] as const;

/** Scores are points, whole numbers 0..9999, divided by this. */
export const SCORE_SCALE = 10000;

const standardThresholds = [75, 120, 185, 290, 380, 470, 560] as const;

/** By template type and security level (the first is level 1): the least points that
 * are a match. */
export const THRESHOLDS: Readonly<Record<TemplateType, readonly number[]>> = {
  [TemplateType.NATIVE]: [40, 85, 150, 240, 350, 480, 640],
  [TemplateType.ISO19794_2]: standardThresholds,
  [TemplateType.ANSI378]: standardThresholds,
};
