CREATE TABLE `schema_version` (
  `one` bigint(20) NOT NULL CHECK (`one` = 1),
  `version` bigint(20) NOT NULL,
  PRIMARY KEY (`one`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_nopad_bin;
INSERT INTO `schema_version` (`one`, `version`) VALUES (1,5);
CREATE TABLE `station` (
  `id` bigint(20) NOT NULL AUTO_INCREMENT,
  `name` longtext NOT NULL,
  `srs` longtext NOT NULL,
  `x_min` double NOT NULL,
  `y_min` double NOT NULL,
  `x_max` double NOT NULL,
  `y_max` double NOT NULL,
  `start_m` double NOT NULL,
  `end_m` double NOT NULL,
  PRIMARY KEY (`id`),
  CONSTRAINT `CONSTRAINT_1` CHECK (`x_min` < `x_max` and `y_min` < `y_max`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_nopad_bin;
INSERT INTO `station` (`id`, `name`, `srs`, `x_min`, `y_min`, `x_max`, `y_max`, `start_m`, `end_m`) VALUES (1,'一号站','EPSG:4547',500000,3400000,500100,3400080,0,100);
INSERT INTO `station` (`id`, `name`, `srs`, `x_min`, `y_min`, `x_max`, `y_max`, `start_m`, `end_m`) VALUES (2,'二号站','EPSG:4547',500100,3400000,500200,3400080,100,200);
CREATE TABLE `anomaly` (
  `id` bigint(20) NOT NULL AUTO_INCREMENT,
  `station_id` bigint(20) NOT NULL,
  `name` varchar(768) NOT NULL,
  `kind` longtext NOT NULL,
  `attribute` longtext NOT NULL DEFAULT '',
  `suggested` longtext NOT NULL DEFAULT '',
  `x` double NOT NULL,
  `y` double NOT NULL,
  `lon_deg` double NOT NULL,
  `lat_deg` double NOT NULL,
  `x_min` double NOT NULL,
  `y_min` double NOT NULL,
  `x_max` double NOT NULL,
  `y_max` double NOT NULL,
  `area_m2` double NOT NULL,
  `fill_m3` double NOT NULL,
  `cut_m3` double NOT NULL,
  `dz_mean_m` double NOT NULL,
  `dz_min_m` double NOT NULL,
  `dz_max_m` double NOT NULL,
  `outline_wkt` longtext NOT NULL,
  `version` bigint(20) NOT NULL DEFAULT 0,
  `comparison_id` bigint(20) NOT NULL DEFAULT 0,
  `vol_sd_m3` double DEFAULT NULL,
  `sigma_m` double DEFAULT NULL,
  `lod_m` double DEFAULT NULL,
  `signif` double DEFAULT NULL,
  `sugg_conf` double DEFAULT NULL,
  PRIMARY KEY (`id`),
  UNIQUE KEY `name` (`name`),
  KEY `anomaly_by_station` (`station_id`),
  CONSTRAINT `anomaly_ibfk_1` FOREIGN KEY (`station_id`) REFERENCES `station` (`id`) ON DELETE CASCADE,
  CONSTRAINT `CONSTRAINT_1` CHECK (`kind` in ('fill','cut'))
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_nopad_bin;
INSERT INTO `anomaly` (`id`, `station_id`, `name`, `kind`, `attribute`, `suggested`, `x`, `y`, `lon_deg`, `lat_deg`, `x_min`, `y_min`, `x_max`, `y_max`, `area_m2`, `fill_m3`, `cut_m3`, `dz_mean_m`, `dz_min_m`, `dz_max_m`, `outline_wkt`, `version`, `comparison_id`, `vol_sd_m3`, `sigma_m`, `lod_m`, `signif`, `sugg_conf`) VALUES (1,1,'S1-0001','fill','深挖','重物占压',500030.5,3400040.1,114.0003,30.7003,500025.5,3400035,500035.5,3400045,100.25,150.1,0,1.5,0.7,2.25,'POLYGON ((500025.500000 3400035,500035.500000 3400035,500030.500000 3400045,500025.500000 3400035))',0,1,NULL,NULL,NULL,NULL,NULL);
CREATE TABLE `comparison` (
  `id` bigint(20) NOT NULL AUTO_INCREMENT,
  `old_epoch` varchar(384) NOT NULL,
  `new_epoch` varchar(384) NOT NULL,
  PRIMARY KEY (`id`),
  UNIQUE KEY `old_epoch` (`old_epoch`,`new_epoch`)
) ENGINE=InnoDB AUTO_INCREMENT=2 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_nopad_bin;
INSERT INTO `comparison` (`id`, `old_epoch`, `new_epoch`) VALUES (1,'2024-05-18','2025-05-20');
CREATE TABLE `comparison_result` (
  `id` bigint(20) NOT NULL AUTO_INCREMENT,
  `station_id` bigint(20) NOT NULL,
  `comparison_id` bigint(20) NOT NULL,
  `computed_at` longtext NOT NULL,
  `dz_raster` longtext NOT NULL,
  `threshold_m` double NOT NULL,
  `min_area_m2` double NOT NULL,
  `coregistration` longtext NOT NULL,
  `dx_m` double NOT NULL,
  `dy_m` double NOT NULL,
  `dz_m` double NOT NULL,
  `nmad_before_m` double NOT NULL,
  `nmad_after_m` double NOT NULL,
  `cells` bigint(20) NOT NULL,
  `summary` longtext DEFAULT NULL,
  `stable_dz` longtext DEFAULT NULL,
  `correction_raster` longtext DEFAULT NULL,
  PRIMARY KEY (`id`),
  UNIQUE KEY `station_id` (`station_id`,`comparison_id`),
  KEY `comparison_id` (`comparison_id`),
  CONSTRAINT `comparison_result_ibfk_1` FOREIGN KEY (`station_id`) REFERENCES `station` (`id`) ON DELETE CASCADE,
  CONSTRAINT `comparison_result_ibfk_2` FOREIGN KEY (`comparison_id`) REFERENCES `comparison` (`id`) ON DELETE CASCADE
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_nopad_bin;
INSERT INTO `comparison_result` (`id`, `station_id`, `comparison_id`, `computed_at`, `dz_raster`, `threshold_m`, `min_area_m2`, `coregistration`, `dx_m`, `dy_m`, `dz_m`, `nmad_before_m`, `nmad_after_m`, `cells`, `summary`, `stable_dz`, `correction_raster`) VALUES (1,1,1,'2025-05-21T08:00:00Z','',0.5,4,'bias',0,0,-0.012345678901234567,0.05,0.04,32000,NULL,NULL,NULL);
INSERT INTO `comparison_result` (`id`, `station_id`, `comparison_id`, `computed_at`, `dz_raster`, `threshold_m`, `min_area_m2`, `coregistration`, `dx_m`, `dy_m`, `dz_m`, `nmad_before_m`, `nmad_after_m`, `cells`, `summary`, `stable_dz`, `correction_raster`) VALUES (2,2,1,'2025-05-21T08:00:00Z','',0.5,4,'bias',0,0,-0.012345678901234567,0.05,0.04,32000,NULL,NULL,NULL);
CREATE TABLE `pipe_node` (
  `id` bigint(20) NOT NULL AUTO_INCREMENT,
  `name` varchar(768) NOT NULL,
  `lon_deg` double NOT NULL,
  `lat_deg` double NOT NULL,
  `height_m` double NOT NULL,
  `attribute` longtext NOT NULL DEFAULT '',
  `km` double DEFAULT NULL,
  PRIMARY KEY (`id`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_nopad_bin;
INSERT INTO `pipe_node` (`id`, `name`, `lon_deg`, `lat_deg`, `height_m`, `attribute`, `km`) VALUES (1,'起点',114,30.700333333333333,51.25,'',0.125);
INSERT INTO `pipe_node` (`id`, `name`, `lon_deg`, `lat_deg`, `height_m`, `attribute`, `km`) VALUES (2,'终点 \'a"; --',114.002,30.700333333333333,51.25,'',NULL);
CREATE TABLE `special_point` (
  `id` bigint(20) NOT NULL AUTO_INCREMENT,
  `name` varchar(768) NOT NULL,
  `lon_deg` double NOT NULL,
  `lat_deg` double NOT NULL,
  `height_m` double NOT NULL,
  `attribute` longtext NOT NULL DEFAULT '',
  `version` bigint(20) NOT NULL DEFAULT 0,
  PRIMARY KEY (`id`),
  UNIQUE KEY `name` (`name`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_nopad_bin;
INSERT INTO `special_point` (`id`, `name`, `lon_deg`, `lat_deg`, `height_m`, `attribute`, `version`) VALUES (1,'阀室甲',114.0001,30.700333333333333,51.25,'',11);
INSERT INTO `special_point` (`id`, `name`, `lon_deg`, `lat_deg`, `height_m`, `attribute`, `version`) VALUES (2,'三通',114.0007,30.700333333333333,0.3333333333333333,'引号\'";-- 😀',0);
CREATE TABLE `special_area` (
  `id` bigint(20) NOT NULL AUTO_INCREMENT,
  `name` varchar(768) NOT NULL,
  `lon_deg` double NOT NULL,
  `lat_deg` double NOT NULL,
  `height_m` double NOT NULL,
  `attribute` longtext NOT NULL DEFAULT '',
  `outline_wkt` longtext NOT NULL,
  `fill_red` double NOT NULL,
  `fill_green` double NOT NULL,
  `fill_blue` double NOT NULL,
  `border_red` double NOT NULL,
  `border_green` double NOT NULL,
  `border_blue` double NOT NULL,
  `border_width_px` bigint(20) NOT NULL,
  `opacity` double NOT NULL,
  `level` bigint(20) NOT NULL,
  `version` bigint(20) NOT NULL DEFAULT 0,
  PRIMARY KEY (`id`),
  UNIQUE KEY `name` (`name`),
  CONSTRAINT `CONSTRAINT_1` CHECK (`opacity` between 0 and 1),
  CONSTRAINT `CONSTRAINT_2` CHECK (`level` between 0 and 5)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_nopad_bin;
INSERT INTO `special_area` (`id`, `name`, `lon_deg`, `lat_deg`, `height_m`, `attribute`, `outline_wkt`, `fill_red`, `fill_green`, `fill_blue`, `border_red`, `border_green`, `border_blue`, `border_width_px`, `opacity`, `level`, `version`) VALUES (1,'占压区',114.00015,30.700333333333333,51.25,'','POLYGON Z ((114.00010000000001 30.699999999999999 50,114.00020000000001 30.699999999999999 50,114.0002 30.7001 51.5,114.00010000000001 30.699999999999999 50))',1,1,0,0.8509804010391235,0.8509804010391235,0.8509804010391235,3,0.6000000238418579,2,0);
INSERT INTO `special_area` (`id`, `name`, `lon_deg`, `lat_deg`, `height_m`, `attribute`, `outline_wkt`, `fill_red`, `fill_green`, `fill_blue`, `border_red`, `border_green`, `border_blue`, `border_width_px`, `opacity`, `level`, `version`) VALUES (2,'施工区',114.00025,30.700333333333333,51.25,'','POLYGON Z ((114.00010000000001 30.699999999999999 50,114.00020000000001 30.699999999999999 50,114.0002 30.7001 51.5,114.00010000000001 30.699999999999999 50))',1,1,0,0.8509804010391235,0.8509804010391235,0.8509804010391235,3,0.6000000238418579,0,0);
CREATE TABLE `high_consequence_area` (
  `id` bigint(20) NOT NULL AUTO_INCREMENT,
  `name` varchar(768) NOT NULL,
  `lon_deg` double NOT NULL,
  `lat_deg` double NOT NULL,
  `height_m` double NOT NULL,
  `attribute` longtext NOT NULL DEFAULT '',
  `outline_wkt` longtext NOT NULL,
  `fill_red` double NOT NULL,
  `fill_green` double NOT NULL,
  `fill_blue` double NOT NULL,
  `border_red` double NOT NULL,
  `border_green` double NOT NULL,
  `border_blue` double NOT NULL,
  `border_width_px` bigint(20) NOT NULL,
  `opacity` double NOT NULL,
  `level` bigint(20) NOT NULL,
  `version` bigint(20) NOT NULL DEFAULT 0,
  PRIMARY KEY (`id`),
  UNIQUE KEY `name` (`name`),
  CONSTRAINT `CONSTRAINT_1` CHECK (`opacity` between 0 and 1),
  CONSTRAINT `CONSTRAINT_2` CHECK (`level` between 0 and 5)
) ENGINE=InnoDB AUTO_INCREMENT=2 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_nopad_bin;
INSERT INTO `high_consequence_area` (`id`, `name`, `lon_deg`, `lat_deg`, `height_m`, `attribute`, `outline_wkt`, `fill_red`, `fill_green`, `fill_blue`, `border_red`, `border_green`, `border_blue`, `border_width_px`, `opacity`, `level`, `version`) VALUES (1,'村庄 😀',114.0005,30.700333333333333,51.25,'','POLYGON Z ((114.00010000000001 30.699999999999999 50,114.00020000000001 30.699999999999999 50,114.0002 30.7001 51.5,114.00010000000001 30.699999999999999 50))',1,1,0,0.8509804010391235,0.8509804010391235,0.8509804010391235,3,0.6000000238418579,5,0);
CREATE TABLE `edit_history` (
  `id` bigint(20) NOT NULL AUTO_INCREMENT,
  `made_at` longtext NOT NULL,
  `subject` longtext NOT NULL,
  `description` longtext NOT NULL,
  `is_undone` bigint(20) NOT NULL,
  `changes` longtext NOT NULL,
  `revision` bigint(20) NOT NULL DEFAULT 0,
  `inspector` longtext NOT NULL DEFAULT '',
  `is_dropped` bigint(20) NOT NULL DEFAULT 0,
  `comparison_id` bigint(20) NOT NULL DEFAULT 0,
  PRIMARY KEY (`id`),
  CONSTRAINT `CONSTRAINT_1` CHECK (`is_undone` in (0,1))
) ENGINE=InnoDB AUTO_INCREMENT=9 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_nopad_bin;
INSERT INTO `edit_history` (`id`, `made_at`, `subject`, `description`, `is_undone`, `changes`, `revision`, `inspector`, `is_dropped`, `comparison_id`) VALUES (1,'2026-11-22T06:21:33Z','special_point','添加特殊点 三通',0,'[{"after":{"attribute":"","height_m":51.25,"id":2,"lat_deg":30.700333333333333,"lon_deg":114.0007,"name":"三通"},"before":null,"id":2,"table":"special_point"}]',1,'user@vm:/tmp/hU/q',0,0);
INSERT INTO `edit_history` (`id`, `made_at`, `subject`, `description`, `is_undone`, `changes`, `revision`, `inspector`, `is_dropped`, `comparison_id`) VALUES (2,'2026-11-22T06:21:33Z','special_point','编辑特殊点 三通',0,'[{"after":{"attribute":"引号\'\\";-- 😀","height_m":0.3333333333333333,"id":2,"lat_deg":30.700333333333333,"lon_deg":114.0007,"name":"三通"},"before":{"attribute":"","height_m":51.25,"id":2,"lat_deg":30.700333333333333,"lon_deg":114.0007,"name":"三通"},"id":2,"table":"special_point"}]',2,'user@vm:/tmp/hU/q',0,0);
INSERT INTO `edit_history` (`id`, `made_at`, `subject`, `description`, `is_undone`, `changes`, `revision`, `inspector`, `is_dropped`, `comparison_id`) VALUES (3,'2026-11-22T06:21:33Z','anomaly','分类 2 处异常为 深挖',0,'[{"after":{"area_m2":100.25,"attribute":"深挖","comparison_id":1,"cut_m3":0,"dz_max_m":2.25,"dz_mean_m":1.5,"dz_min_m":0.7,"fill_m3":150.1,"id":1,"kind":"fill","lat_deg":30.7003,"lon_deg":114.0003,"name":"S1-0001","outline_wkt":"POLYGON ((500025.500000 3400035,500035.500000 3400035,500030.500000 3400045,500025.500000 3400035))","station_id":1,"suggested":"重物占压","x":500030.5,"x_max":500035.5,"x_min":500025.5,"y":3400040.1,"y_max":3400045,"y_min":3400035},"before":{"area_m2":100.25,"attribute":"","comparison_id":1,"cut_m3":0,"dz_max_m":2.25,"dz_mean_m":1.5,"dz_min_m":0.7,"fill_m3":150.1,"id":1,"kind":"fill","lat_deg":30.7003,"lon_deg":114.0003,"name":"S1-0001","outline_wkt":"POLYGON ((500025.500000 3400035,500035.500000 3400035,500030.500000 3400045,500025.500000 3400035))","station_id":1,"suggested":"重物占压","x":500030.5,"x_max":500035.5,"x_min":500025.5,"y":3400040.1,"y_max":3400045,"y_min":3400035},"id":1,"table":"anomaly"},{"after":{"area_m2":100.25,"attribute":"深挖","comparison_id":1,"cut_m3":99.7,"dz_max_m":-0.1,"dz_mean_m":-0.3333333333333333,"dz_min_m":-2.1,"fill_m3":0,"id":2,"kind":"cut","lat_deg":30.7003,"lon_deg":114.0015,"name":"S2-0001","outline_wkt":"POLYGON ((500145.500000 3400035,500155.500000 3400035,500150.500000 3400045,500145.500000 3400035))","station_id":2,"suggested":"深挖","x":500150.5,"x_max":500155.5,"x_min":500145.5,"y":3400040.1,"y_max":3400045,"y_min":3400035},"before":{"area_m2":100.25,"attribute":"","comparison_id":1,"cut_m3":99.7,"dz_max_m":-0.1,"dz_mean_m":-0.3333333333333333,"dz_min_m":-2.1,"fill_m3":0,"id":2,"kind":"cut","lat_deg":30.7003,"lon_deg":114.0015,"name":"S2-0001","outline_wkt":"POLYGON ((500145.500000 3400035,500155.500000 3400035,500150.500000 3400045,500145.500000 3400035))","station_id":2,"suggested":"深挖","x":500150.5,"x_max":500155.5,"x_min":500145.5,"y":3400040.1,"y_max":3400045,"y_min":3400035},"id":2,"table":"anomaly"}]',3,'user@vm:/tmp/hU/q',0,1);
INSERT INTO `edit_history` (`id`, `made_at`, `subject`, `description`, `is_undone`, `changes`, `revision`, `inspector`, `is_dropped`, `comparison_id`) VALUES (7,'2026-11-23T02:00:29Z','anomaly','删除 1 处异常',0,'[{"after":null,"before":{"area_m2":100.25,"attribute":"深挖","comparison_id":1,"cut_m3":99.7,"dz_max_m":-0.1,"dz_mean_m":-0.3333333333333333,"dz_min_m":-2.1,"fill_m3":0,"id":2,"kind":"cut","lat_deg":30.7003,"lon_deg":114.0015,"name":"S2-0001","outline_wkt":"POLYGON ((500145.500000 3400035,500155.500000 3400035,500150.500000 3400045,500145.500000 3400035))","station_id":2,"suggested":"深挖","version":0,"x":500150.5,"x_max":500155.5,"x_min":500145.5,"y":3400040.1,"y_max":3400045,"y_min":3400035},"id":2,"table":"anomaly"}]',9,'user@vm:/tmp/hU/q',0,1);
INSERT INTO `edit_history` (`id`, `made_at`, `subject`, `description`, `is_undone`, `changes`, `revision`, `inspector`, `is_dropped`, `comparison_id`) VALUES (8,'2026-11-23T02:00:29Z','special_point','编辑特殊点 阀室甲',1,'[{"after":{"attribute":"新","height_m":51.25,"id":1,"lat_deg":30.700333333333333,"lon_deg":114.0001,"name":"阀室甲","version":10},"before":{"attribute":"","height_m":51.25,"id":1,"lat_deg":30.700333333333333,"lon_deg":114.0001,"name":"阀室甲","version":0},"id":1,"table":"special_point"}]',11,'user@vm:/tmp/hU/q',0,0);
CREATE TABLE `project_revision` (
  `id` bigint(20) NOT NULL AUTO_INCREMENT,
  `revision` bigint(20) NOT NULL,
  PRIMARY KEY (`id`)
) ENGINE=InnoDB AUTO_INCREMENT=2 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_nopad_bin;
INSERT INTO `project_revision` (`id`, `revision`) VALUES (1,11);
