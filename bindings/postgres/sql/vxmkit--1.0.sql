\echo Use "CREATE EXTENSION vxmkit" to load this file. \quit

-- Costs are in units of the planner's cpu_operator_cost and measured, as
-- docs/large-galleries.md tells.

CREATE FUNCTION vxm_score(probe bytea, candidate bytea)
RETURNS real
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 1000;
COMMENT ON FUNCTION vxm_score IS 'similarity of two templates of one format, 0 to 0.9999';

CREATE FUNCTION vxm_verify(probe bytea, candidate bytea, level integer DEFAULT 4,
  retry_turned boolean DEFAULT false)
RETURNS boolean
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 1000;
COMMENT ON FUNCTION vxm_verify IS 'whether two templates of one format match by full comparison';

CREATE FUNCTION vxm_matches(probe bytea, candidate bytea, level integer DEFAULT 4,
  retry_turned boolean DEFAULT false, fast boolean DEFAULT true)
RETURNS boolean
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 200;
COMMENT ON FUNCTION vxm_matches IS
  'whether a candidate matches the probe in the staged comparison of identification; false for an invalid candidate and for one of another format';

CREATE FUNCTION vxm_valid(template bytea)
RETURNS boolean
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 50;
COMMENT ON FUNCTION vxm_valid IS 'whether the bytes are a template that can be compared';

CREATE FUNCTION vxm_info(template bytea, OUT format text, OUT size integer, OUT minutiae integer,
  OUT width integer, OUT height integer, OUT attribute integer)
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION vxm_info IS 'what a template says about itself; null for an invalid one';

CREATE FUNCTION vxm_version()
RETURNS text
AS 'MODULE_PATHNAME'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
COMMENT ON FUNCTION vxm_version IS 'version of the library behind the extension';
