\echo Use "CREATE EXTENSION vxmkit" to load this file. \quit

-- Costs are measured (bench/postgres_bench.py) against what a row of a plain scan
-- takes: cpu_operator_cost comes to 0.03 microseconds.

CREATE FUNCTION vxm_score(probe bytea, candidate bytea)
RETURNS real
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 400;
COMMENT ON FUNCTION vxm_score IS 'similarity of two templates of one format, 0 to 0.9999';

CREATE FUNCTION vxm_verify(probe bytea, candidate bytea, level integer DEFAULT 4,
  retry_turned boolean DEFAULT false)
RETURNS boolean
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 400;
COMMENT ON FUNCTION vxm_verify IS 'whether two templates of one format match by full comparison';

CREATE FUNCTION vxm_matches(probe bytea, candidate bytea, level integer DEFAULT 4,
  retry_turned boolean DEFAULT false, fast boolean DEFAULT true)
RETURNS boolean
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION vxm_matches IS
  'whether a candidate matches the probe in the staged comparison of identification; false for an invalid candidate and for one of another format';

CREATE FUNCTION vxm_valid(template bytea)
RETURNS boolean
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 20;
COMMENT ON FUNCTION vxm_valid IS 'whether the bytes are a template that can be compared';

CREATE FUNCTION vxm_info(template bytea, OUT format text, OUT size integer, OUT minutiae integer,
  OUT width integer, OUT height integer, OUT attribute integer)
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 40;
COMMENT ON FUNCTION vxm_info IS 'what a template says about itself; null for an invalid one';

CREATE FUNCTION vxm_version()
RETURNS text
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
COMMENT ON FUNCTION vxm_version IS 'version of the library behind the extension';

-- The ids of all candidates that match the probe, compared as by vxm_matches.
CREATE FUNCTION vxm_search_step(internal, probe bytea, id text, candidate bytea)
RETURNS internal
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;

CREATE FUNCTION vxm_search_step(internal, probe bytea, id text, candidate bytea, level integer,
  retry_turned boolean, fast boolean)
RETURNS internal
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;

CREATE FUNCTION vxm_search_combine(internal, internal)
RETURNS internal
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE PARALLEL SAFE;

CREATE FUNCTION vxm_search_serialize(internal)
RETURNS bytea
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE FUNCTION vxm_search_deserialize(bytea, internal)
RETURNS internal
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE FUNCTION vxm_search_result(internal)
RETURNS text[]
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE PARALLEL SAFE;

CREATE AGGREGATE vxm_search(probe bytea, id text, candidate bytea) (
  SFUNC = vxm_search_step,
  STYPE = internal,
  SSPACE = 65536,
  FINALFUNC = vxm_search_result,
  FINALFUNC_MODIFY = READ_WRITE,
  COMBINEFUNC = vxm_search_combine,
  SERIALFUNC = vxm_search_serialize,
  DESERIALFUNC = vxm_search_deserialize,
  PARALLEL = SAFE
);

CREATE AGGREGATE vxm_search(probe bytea, id text, candidate bytea, level integer,
  retry_turned boolean, fast boolean) (
  SFUNC = vxm_search_step,
  STYPE = internal,
  SSPACE = 65536,
  FINALFUNC = vxm_search_result,
  FINALFUNC_MODIFY = READ_WRITE,
  COMBINEFUNC = vxm_search_combine,
  SERIALFUNC = vxm_search_serialize,
  DESERIALFUNC = vxm_search_deserialize,
  PARALLEL = SAFE
);
