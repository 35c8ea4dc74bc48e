/**
 * Fingerprint template matching: the VXMKIT library as WebAssembly.
 *
 * @module vxmkit
 */
export { SCORE_SCALE, SECURITY_LEVELS, Status, TemplateType, THRESHOLDS } from "./constants.js";
export {
  DataCorruptedError,
  InvalidParametersError,
  MatchAbortedError,
  MatchTimeoutError,
  TemplateTypeError,
  VxmError,
} from "./errors.js";
export { type Candidate, Gallery } from "./gallery.js";
export { bestForm, type Form } from "./library.js";
export { type IdentifyOptions, Matcher, type MatcherOptions, type Verification } from "./matcher.js";
export { detectType } from "./template_format.js";
