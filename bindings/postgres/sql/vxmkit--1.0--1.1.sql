\echo Use "ALTER EXTENSION vxmkit UPDATE TO '1.1'" to load this file. \quit

-- A null probe or level is an error and no longer finds nobody; the planner learns how
-- many rows a comparison leaves and what it costs.
CREATE FUNCTION vxm_matches_support(internal)
RETURNS internal
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE FUNCTION vxm_verify_support(internal)
RETURNS internal
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE FUNCTION vxm_valid_support(internal)
RETURNS internal
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

ALTER FUNCTION vxm_matches(bytea, bytea, integer, boolean, boolean)
  CALLED ON NULL INPUT SUPPORT vxm_matches_support;
ALTER FUNCTION vxm_verify(bytea, bytea, integer, boolean)
  CALLED ON NULL INPUT SUPPORT vxm_verify_support;
ALTER FUNCTION vxm_score(bytea, bytea) SUPPORT vxm_verify_support;
ALTER FUNCTION vxm_valid(bytea) SUPPORT vxm_valid_support;

-- The predicate that misses nobody whom verification finds.
CREATE FUNCTION vxm_matches_fully(probe bytea, candidate bytea, level integer DEFAULT 4,
  retry_turned boolean DEFAULT false)
RETURNS boolean
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE PARALLEL SAFE COST 400 SUPPORT vxm_verify_support;
COMMENT ON FUNCTION vxm_matches_fully IS
  'whether a candidate matches the probe by full comparison; false for an invalid candidate and for one of another format';

-- As vxm_search, with what was done.
CREATE TYPE vxm_search_outcome AS (
  found text[],
  compared bigint,
  faulty bigint,
  other_format bigint
);

CREATE FUNCTION vxm_search_report_step(internal, probe bytea, id text, candidate bytea)
RETURNS internal
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE PARALLEL SAFE COST 120;

CREATE FUNCTION vxm_search_report_step(internal, probe bytea, id text, candidate bytea, level integer,
  retry_turned boolean, fast boolean)
RETURNS internal
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE PARALLEL SAFE COST 120;

CREATE FUNCTION vxm_search_report_result(internal)
RETURNS vxm_search_outcome
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE PARALLEL SAFE;

CREATE AGGREGATE vxm_search_report(probe bytea, id text, candidate bytea) (
  SFUNC = vxm_search_report_step,
  STYPE = internal,
  SSPACE = 65536,
  FINALFUNC = vxm_search_report_result,
  FINALFUNC_MODIFY = READ_WRITE,
  COMBINEFUNC = vxm_search_combine,
  SERIALFUNC = vxm_search_serialize,
  DESERIALFUNC = vxm_search_deserialize,
  PARALLEL = SAFE
);

CREATE AGGREGATE vxm_search_report(probe bytea, id text, candidate bytea, level integer,
  retry_turned boolean, fast boolean) (
  SFUNC = vxm_search_report_step,
  STYPE = internal,
  SSPACE = 65536,
  FINALFUNC = vxm_search_report_result,
  FINALFUNC_MODIFY = READ_WRITE,
  COMBINEFUNC = vxm_search_combine,
  SERIALFUNC = vxm_search_serialize,
  DESERIALFUNC = vxm_search_deserialize,
  PARALLEL = SAFE
);

-- The k candidates that resemble the probe most, by full comparison; with a level, of
-- those that match at it. Of equal scores the lesser id by its bytes comes first.
CREATE TYPE vxm_candidate AS (id text COLLATE "C", score real);

-- An array type is no member of the extension, so that postgres_fdw would send no
-- aggregate of one to another server; a domain is.
CREATE DOMAIN vxm_candidates AS vxm_candidate[];

CREATE TYPE vxm_best_outcome AS (
  best vxm_candidates,
  compared bigint,
  faulty bigint,
  other_format bigint
);

CREATE FUNCTION vxm_best_step(internal, probe bytea, id "any", candidate bytea, k integer)
RETURNS internal
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE PARALLEL SAFE COST 400;

CREATE FUNCTION vxm_best_step(internal, probe bytea, id "any", candidate bytea, k integer,
  level integer)
RETURNS internal
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE PARALLEL SAFE COST 400;

CREATE FUNCTION vxm_best_combine(internal, internal)
RETURNS internal
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE PARALLEL SAFE;

CREATE FUNCTION vxm_best_serialize(internal)
RETURNS bytea
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE FUNCTION vxm_best_deserialize(bytea, internal)
RETURNS internal
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE FUNCTION vxm_best_result(internal)
RETURNS vxm_candidates
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE PARALLEL SAFE;

CREATE FUNCTION vxm_best_report_result(internal)
RETURNS vxm_best_outcome
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE PARALLEL SAFE;

CREATE AGGREGATE vxm_best(probe bytea, id "any", candidate bytea, k integer) (
  SFUNC = vxm_best_step,
  STYPE = internal,
  SSPACE = 4096,
  FINALFUNC = vxm_best_result,
  FINALFUNC_MODIFY = READ_WRITE,
  COMBINEFUNC = vxm_best_combine,
  SERIALFUNC = vxm_best_serialize,
  DESERIALFUNC = vxm_best_deserialize,
  PARALLEL = SAFE
);

CREATE AGGREGATE vxm_best(probe bytea, id "any", candidate bytea, k integer, level integer) (
  SFUNC = vxm_best_step,
  STYPE = internal,
  SSPACE = 4096,
  FINALFUNC = vxm_best_result,
  FINALFUNC_MODIFY = READ_WRITE,
  COMBINEFUNC = vxm_best_combine,
  SERIALFUNC = vxm_best_serialize,
  DESERIALFUNC = vxm_best_deserialize,
  PARALLEL = SAFE
);

CREATE AGGREGATE vxm_best_report(probe bytea, id "any", candidate bytea, k integer) (
  SFUNC = vxm_best_step,
  STYPE = internal,
  SSPACE = 4096,
  FINALFUNC = vxm_best_report_result,
  FINALFUNC_MODIFY = READ_WRITE,
  COMBINEFUNC = vxm_best_combine,
  SERIALFUNC = vxm_best_serialize,
  DESERIALFUNC = vxm_best_deserialize,
  PARALLEL = SAFE
);

CREATE AGGREGATE vxm_best_report(probe bytea, id "any", candidate bytea, k integer, level integer) (
  SFUNC = vxm_best_step,
  STYPE = internal,
  SSPACE = 4096,
  FINALFUNC = vxm_best_report_result,
  FINALFUNC_MODIFY = READ_WRITE,
  COMBINEFUNC = vxm_best_combine,
  SERIALFUNC = vxm_best_serialize,
  DESERIALFUNC = vxm_best_deserialize,
  PARALLEL = SAFE
);

-- Records of the forms that the matcher does not compare: told, and converted by the
-- library vxmrecords. Such a record is no valid template.
CREATE FUNCTION vxm_form(record bytea)
RETURNS text
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 20;
COMMENT ON FUNCTION vxm_form IS 'the form of a record, such as iso-2011; null for what is no record of a known form';

CREATE FUNCTION vxm_convert(record bytea, form text, resolution integer DEFAULT 0,
  view integer DEFAULT 0, keep_extended boolean DEFAULT true)
RETURNS bytea
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 200;
COMMENT ON FUNCTION vxm_convert IS 'a record in another form';

CREATE FUNCTION vxm_convert_report(record bytea, form text, resolution integer DEFAULT 0,
  view integer DEFAULT 0, keep_extended boolean DEFAULT true, OUT converted bytea,
  OUT minutiae_outside bigint, OUT minutiae_pruned bigint, OUT positions_rounded bigint,
  OUT angles_rounded bigint, OUT types_dropped bigint, OUT qualities_dropped bigint,
  OUT extended_dropped bigint, OUT views_dropped bigint, OUT fields_dropped bigint)
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 200;
COMMENT ON FUNCTION vxm_convert_report IS 'the same, with the numbers of what the new record no longer holds';
