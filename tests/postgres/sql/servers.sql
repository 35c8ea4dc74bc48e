-- What is sent to other servers (docs/large-galleries.md), which nobody asks here.
\pset format unaligned
\pset tuples_only
CREATE EXTENSION postgres_fdw;
CREATE SERVER shard0 FOREIGN DATA WRAPPER postgres_fdw
  OPTIONS (host 'db0', extensions 'vxmkit', async_capable 'true');
CREATE SERVER shard1 FOREIGN DATA WRAPPER postgres_fdw
  OPTIONS (host 'db1', extensions 'vxmkit', async_capable 'true');
CREATE USER MAPPING FOR CURRENT_USER SERVER shard0;
CREATE USER MAPPING FOR CURRENT_USER SERVER shard1;
CREATE TABLE gallery (id text NOT NULL, template bytea NOT NULL, note text) PARTITION BY HASH (id);
CREATE FOREIGN TABLE gallery_0 PARTITION OF gallery
  FOR VALUES WITH (MODULUS 2, REMAINDER 0) SERVER shard0 OPTIONS (table_name 'gallery');
CREATE FOREIGN TABLE gallery_1 PARTITION OF gallery
  FOR VALUES WITH (MODULUS 2, REMAINDER 1) SERVER shard1 OPTIONS (table_name 'gallery');
SET plan_cache_mode = force_generic_plan;

-- Comparisons where the templates are, on all servers at once.
PREPARE all_that_match(bytea) AS SELECT id FROM gallery WHERE vxm_matches_fully($1, template);
EXPLAIN (VERBOSE, COSTS OFF) EXECUTE all_that_match('\x00');
PREPARE best(bytea) AS SELECT id, score FROM (
  SELECT vxm_best($1, id, template, 3) AS best FROM gallery_0
  UNION ALL
  SELECT vxm_best($1, id, template, 3) AS best FROM gallery_1
) AS parts, unnest(best) ORDER BY score DESC, id LIMIT 3;
EXPLAIN (VERBOSE, COSTS OFF) EXECUTE best('\x00');
PREPARE search(bytea) AS SELECT vxm_search($1, id, template) FROM gallery_0
  UNION ALL SELECT vxm_search($1, id, template) FROM gallery_1;
EXPLAIN (VERBOSE, COSTS OFF) EXECUTE search('\x00');
PREPARE with_score(bytea) AS
SELECT id, vxm_score($1, template) FROM gallery WHERE vxm_matches_fully($1, template);
EXPLAIN (VERBOSE, COSTS OFF) EXECUTE with_score('\x00');

-- Forms that fetch templates: all, and part by part those of the best.
PREPARE best_of_whole(bytea) AS SELECT vxm_best($1, id, template, 3) FROM gallery;
EXPLAIN (VERBOSE, COSTS OFF) EXECUTE best_of_whole('\x00');
PREPARE by_score(bytea) AS SELECT id FROM gallery ORDER BY vxm_score($1, template) DESC LIMIT 3;
EXPLAIN (VERBOSE, COSTS OFF) EXECUTE by_score('\x00');

-- A probe that is no parameter of the plan stands in what is sent, and so in logs.
SET plan_cache_mode = auto;
EXPLAIN (VERBOSE, COSTS OFF) EXECUTE all_that_match('\x00');
