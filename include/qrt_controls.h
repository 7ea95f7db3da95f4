/** @file qrt_controls.h
 *  Accessors of the control variables, included by qrt_c_api.h. Made from frame/controls.def by
 *  tools/make_controls_header.py: edit there. */
#ifndef QRT_CONTROLS_H
#define QRT_CONTROLS_H
/** @brief Ilogfreq: iterations between log messages (default 999999). */
QRT_API int qrt_getIlogfreq(QRTModel *model);
/** @brief Sets Ilogfreq. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIlogfreq(QRTModel *model, int value);
/** @brief Imaxfactor: iterations between refactorisations (default 100). */
QRT_API int qrt_getImaxfactor(QRTModel *model);
/** @brief Sets Imaxfactor. @return 0, or 1 for a refused value. */
QRT_API int qrt_setImaxfactor(QRTModel *model, int value);
/** @brief Iiternum: iteration count so far (default 0). */
QRT_API int qrt_getIiternum(QRTModel *model);
/** @brief Sets Iiternum. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIiternum(QRTModel *model, int value);
/** @brief Imaxiter: iteration limit (default 99999999). */
QRT_API int qrt_getImaxiter(QRTModel *model);
/** @brief Sets Imaxiter. @return 0, or 1 for a refused value. */
QRT_API int qrt_setImaxiter(QRTModel *model, int value);
/** @brief Iloglevel: bit mask of log detail (default 15). */
QRT_API int qrt_getIloglevel(QRTModel *model);
/** @brief Sets Iloglevel. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIloglevel(QRTModel *model, int value);
/** @brief Ioneobj: keep one objective row when several free rows are read (default 1). */
QRT_API int qrt_getIoneobj(QRTModel *model);
/** @brief Sets Ioneobj. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIoneobj(QRTModel *model, int value);
/** @brief IuseRowCopy: 1: price by a row copy of the matrix (default 1). */
QRT_API int qrt_getIuseRowCopy(QRTModel *model);
/** @brief Sets IuseRowCopy. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIuseRowCopy(QRTModel *model, int value);
/** @brief Imaxrows: row capacity; a change on a filled model resizes it (default 0). */
QRT_API int qrt_getImaxrows(QRTModel *model);
/** @brief Sets Imaxrows. @return 0, or 1 for a refused value. */
QRT_API int qrt_setImaxrows(QRTModel *model, int value);
/** @brief Imaxcols: column capacity; as Imaxrows (default 0). */
QRT_API int qrt_getImaxcols(QRTModel *model);
/** @brief Sets Imaxcols. @return 0, or 1 for a refused value. */
QRT_API int qrt_setImaxcols(QRTModel *model, int value);
/** @brief Inumchar: length of row and column names (default 8). */
QRT_API int qrt_getInumchar(QRTModel *model);
/** @brief Sets Inumchar. @return 0, or 1 for a refused value. */
QRT_API int qrt_setInumchar(QRTModel *model, int value);
/** @brief Istopmask: bit mask for stopping rules (default 0). */
QRT_API int qrt_getIstopmask(QRTModel *model);
/** @brief Sets Istopmask. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIstopmask(QRTModel *model, int value);
/** @brief Imaxiterb: barrier iteration limit (default 100). */
QRT_API int qrt_getImaxiterb(QRTModel *model);
/** @brief Sets Imaxiterb. @return 0, or 1 for a refused value. */
QRT_API int qrt_setImaxiterb(QRTModel *model, int value);
/** @brief Iformntype: barrier: how the normal matrix is formed (default 1). */
QRT_API int qrt_getIformntype(QRTModel *model);
/** @brief Sets Iformntype. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIformntype(QRTModel *model, int value);
/** @brief Idensecol: columns with more entries than this are dense (default 99999). */
QRT_API int qrt_getIdensecol(QRTModel *model);
/** @brief Sets Idensecol. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIdensecol(QRTModel *model, int value);
/** @brief Idevexmode: pricing variant of the simplex method (default 1). */
QRT_API int qrt_getIdevexmode(QRTModel *model);
/** @brief Sets Idevexmode. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIdevexmode(QRTModel *model, int value);
/** @brief Inullcheck: read by the barrier solver (default 0). */
QRT_API int qrt_getInullcheck(QRTModel *model);
/** @brief Sets Inullcheck. @return 0, or 1 for a refused value. */
QRT_API int qrt_setInullcheck(QRTModel *model, int value);
/** @brief Idroprowct: read by the barrier solver (default 1). */
QRT_API int qrt_getIdroprowct(QRTModel *model);
/** @brief Sets Idroprowct. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIdroprowct(QRTModel *model, int value);
/** @brief Iiterufreq: iterations between calls of the iteration user exit (default 9999999). */
QRT_API int qrt_getIiterufreq(QRTModel *model);
/** @brief Sets Iiterufreq. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIiterufreq(QRTModel *model, int value);
/** @brief Ipossbasis: barrier: potential basis threshold (default 65). */
QRT_API int qrt_getIpossbasis(QRTModel *model);
/** @brief Sets Ipossbasis. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIpossbasis(QRTModel *model, int value);
/** @brief Imaxprojns: barrier: projection limit (default 3). */
QRT_API int qrt_getImaxprojns(QRTModel *model);
/** @brief Sets Imaxprojns. @return 0, or 1 for a refused value. */
QRT_API int qrt_setImaxprojns(QRTModel *model, int value);
/** @brief Inumblocks: element blocks; in the object interface use qrt_getInumblocks (default 0). */
QRT_API int qrt_getInumblocks(QRTModel *model);
/** @brief Sets Inumblocks. @return 0, or 1 for a refused value. */
QRT_API int qrt_setInumblocks(QRTModel *model, int value);
/** @brief Imsgpos: position of the message number: 0 left, 1 at the right margin (default 0). */
QRT_API int qrt_getImsgpos(QRTModel *model);
/** @brief Sets Imsgpos. @return 0, or 1 for a refused value. */
QRT_API int qrt_setImsgpos(QRTModel *model, int value);
/** @brief Ipagelines: lines on a page (default 55). */
QRT_API int qrt_getIpagelines(QRTModel *model);
/** @brief Sets Ipagelines. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIpagelines(QRTModel *model, int value);
/** @brief Inumrows: number of rows (default 0). */
QRT_API int qrt_getInumrows(QRTModel *model);
/** @brief Sets Inumrows. @return 0, or 1 for a refused value. */
QRT_API int qrt_setInumrows(QRTModel *model, int value);
/** @brief Inumcols: number of columns (default 0). */
QRT_API int qrt_getInumcols(QRTModel *model);
/** @brief Sets Inumcols. @return 0, or 1 for a refused value. */
QRT_API int qrt_setInumcols(QRTModel *model, int value);
/** @brief Inumpinf: number of primal infeasibilities (default 0). */
QRT_API int qrt_getInumpinf(QRTModel *model);
/** @brief Sets Inumpinf. @return 0, or 1 for a refused value. */
QRT_API int qrt_setInumpinf(QRTModel *model, int value);
/** @brief Inumdinf: number of dual infeasibilities (default 0). */
QRT_API int qrt_getInumdinf(QRTModel *model);
/** @brief Sets Inumdinf. @return 0, or 1 for a refused value. */
QRT_API int qrt_setInumdinf(QRTModel *model, int value);
/** @brief Imodelmask: what a save writes of the model: bit mask (default 0). */
QRT_API int qrt_getImodelmask(QRTModel *model);
/** @brief Sets Imodelmask. @return 0, or 1 for a refused value. */
QRT_API int qrt_setImodelmask(QRTModel *model, int value);
/** @brief Iprtinfomask: what the solution printer prints: bit mask (default 31). */
QRT_API int qrt_getIprtinfomask(QRTModel *model);
/** @brief Sets Iprtinfomask. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIprtinfomask(QRTModel *model, int value);
/** @brief Isolmask: which parts of the solution are printed (default 0). */
QRT_API int qrt_getIsolmask(QRTModel *model);
/** @brief Sets Isolmask. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIsolmask(QRTModel *model, int value);
/** @brief Iextrablk: spare room in the element block area (default 1000). */
QRT_API int qrt_getIextrablk(QRTModel *model);
/** @brief Sets Iextrablk. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIextrablk(QRTModel *model, int value);
/** @brief Iqparmaxiter: iteration limit of the parametric quadratic method (default 99999999). */
QRT_API int qrt_getIqparmaxiter(QRTModel *model);
/** @brief Sets Iqparmaxiter. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIqparmaxiter(QRTModel *model, int value);
/** @brief Ilinelen: output line length (default 132). */
QRT_API int qrt_getIlinelen(QRTModel *model);
/** @brief Sets Ilinelen. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIlinelen(QRTModel *model, int value);
/** @brief Inumnodes: nodes of branch and bound so far (default 0). */
QRT_API int qrt_getInumnodes(QRTModel *model);
/** @brief Sets Inumnodes. @return 0, or 1 for a refused value. */
QRT_API int qrt_setInumnodes(QRTModel *model, int value);
/** @brief Iintmask: log detail of the integer solver: bit mask (default 1). */
QRT_API int qrt_getIintmask(QRTModel *model);
/** @brief Sets Iintmask. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIintmask(QRTModel *model, int value);
/** @brief Ifastits: iterations of the fast simplex path (default 0). */
QRT_API int qrt_getIfastits(QRTModel *model);
/** @brief Sets Ifastits. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIfastits(QRTModel *model, int value);
/** @brief Imaxnodes: node limit (default 9999999). */
QRT_API int qrt_getImaxnodes(QRTModel *model);
/** @brief Sets Imaxnodes. @return 0, or 1 for a refused value. */
QRT_API int qrt_setImaxnodes(QRTModel *model, int value);
/** @brief Imaxsols: limit of integer solutions (default 9999999). */
QRT_API int qrt_getImaxsols(QRTModel *model);
/** @brief Sets Imaxsols. @return 0, or 1 for a refused value. */
QRT_API int qrt_setImaxsols(QRTModel *model, int value);
/** @brief Inumsols: integer solutions found (default 0). */
QRT_API int qrt_getInumsols(QRTModel *model);
/** @brief Sets Inumsols. @return 0, or 1 for a refused value. */
QRT_API int qrt_setInumsols(QRTModel *model, int value);
/** @brief Inumints: integer columns, counted on request (default 0). */
QRT_API int qrt_getInumints(QRTModel *model);
/** @brief Sets Inumints. @return always refused: its negative position. */
QRT_API int qrt_setInumints(QRTModel *model, int value);
/** @brief Inumsets: special ordered sets (default 0). */
QRT_API int qrt_getInumsets(QRTModel *model);
/** @brief Sets Inumsets. @return always refused: its negative position. */
QRT_API int qrt_setInumsets(QRTModel *model, int value);
/** @brief Inumunsat: integer variables not yet satisfied (default 0). */
QRT_API int qrt_getInumunsat(QRTModel *model);
/** @brief Sets Inumunsat. @return 0, or 1 for a refused value. */
QRT_API int qrt_setInumunsat(QRTModel *model, int value);
/** @brief Iprobstat: problem status after a solve (default -1). */
QRT_API int qrt_getIprobstat(QRTModel *model);
/** @brief Sets Iprobstat. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIprobstat(QRTModel *model, int value);
/** @brief Imajorits: limit on major iterations; ends the rounds of the idiot crash (default 30). */
QRT_API int qrt_getImajorits(QRTModel *model);
/** @brief Sets Imajorits. @return 0, or 1 for a refused value. */
QRT_API int qrt_setImajorits(QRTModel *model, int value);
/** @brief Iprintsens: what sensitivity output prints (default 0). */
QRT_API int qrt_getIprintsens(QRTModel *model);
/** @brief Sets Iprintsens. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIprintsens(QRTModel *model, int value);
/** @brief Imaxints: room for integer variables (default 0). */
QRT_API int qrt_getImaxints(QRTModel *model);
/** @brief Sets Imaxints. @return 0, or 1 for a refused value. */
QRT_API int qrt_setImaxints(QRTModel *model, int value);
/** @brief Imaxsets: room for sets (default 0). */
QRT_API int qrt_getImaxsets(QRTModel *model);
/** @brief Sets Imaxsets. @return 0, or 1 for a refused value. */
QRT_API int qrt_setImaxsets(QRTModel *model, int value);
/** @brief Istrategy: branch and bound strategy; the high 16 bits of the same word are Ifastinteger (default 1). */
QRT_API int qrt_getIstrategy(QRTModel *model);
/** @brief Sets Istrategy. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIstrategy(QRTModel *model, int value);
/** @brief Imaxintinfo: room for integer information (default 0). */
QRT_API int qrt_getImaxintinfo(QRTModel *model);
/** @brief Sets Imaxintinfo. @return 0, or 1 for a refused value. */
QRT_API int qrt_setImaxintinfo(QRTModel *model, int value);
/** @brief Ithreshold: limit on the entries of a column for substitution in presolve, 3 to 20 (default 1). */
QRT_API int qrt_getIthreshold(QRTModel *model);
/** @brief Sets Ithreshold. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIthreshold(QRTModel *model, int value);
/** @brief Iheurpass: heuristic passes (default 1). */
QRT_API int qrt_getIheurpass(QRTModel *model);
/** @brief Sets Iheurpass. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIheurpass(QRTModel *model, int value);
/** @brief Isupertol: read by the integer solver (default 0). */
QRT_API int qrt_getIsupertol(QRTModel *model);
/** @brief Sets Isupertol. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIsupertol(QRTModel *model, int value);
/** @brief Iroword: row ordering method of the barrier (default 3). */
QRT_API int qrt_getIroword(QRTModel *model);
/** @brief Sets Iroword. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIroword(QRTModel *model, int value);
/** @brief Iordunit: file unit for the row order (default -1). */
QRT_API int qrt_getIordunit(QRTModel *model);
/** @brief Sets Iordunit. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIordunit(QRTModel *model, int value);
/** @brief Imiplength: read by the integer solver (default 0). */
QRT_API int qrt_getImiplength(QRTModel *model);
/** @brief Sets Imiplength. @return 0, or 1 for a refused value. */
QRT_API int qrt_setImiplength(QRTModel *model, int value);
/** @brief Iiterbnum: barrier iterations so far (default 0). */
QRT_API int qrt_getIiterbnum(QRTModel *model);
/** @brief Sets Iiterbnum. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIiterbnum(QRTModel *model, int value);
/** @brief Ipricetype: network pricing type (default 0). */
QRT_API int qrt_getIpricetype(QRTModel *model);
/** @brief Sets Ipricetype. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIpricetype(QRTModel *model, int value);
/** @brief Inumcpu: processors in use (default 0). */
QRT_API int qrt_getInumcpu(QRTModel *model);
/** @brief Sets Inumcpu. @return 0, or 1 for a refused value. */
QRT_API int qrt_setInumcpu(QRTModel *model, int value);
/** @brief Iprobstat2: second status word (default -1). */
QRT_API int qrt_getIprobstat2(QRTModel *model);
/** @brief Sets Iprobstat2. @return always refused: its negative position. */
QRT_API int qrt_setIprobstat2(QRTModel *model, int value);
/** @brief Ismdltypemask: type of the model (default 0). */
QRT_API int qrt_getIsmdltypemask(QRTModel *model);
/** @brief Sets Ismdltypemask. @return always refused: its negative position. */
QRT_API int qrt_setIsmdltypemask(QRTModel *model, int value);
/** @brief Itotalcpu: the accessor always gives 1 (default 1). */
QRT_API int qrt_getItotalcpu(QRTModel *model);
/** @brief Sets Itotalcpu. @return always refused: its negative position. */
QRT_API int qrt_setItotalcpu(QRTModel *model, int value);
/** @brief Iwhichcpu: the accessor always gives 1 (default 1). */
QRT_API int qrt_getIwhichcpu(QRTModel *model);
/** @brief Sets Iwhichcpu. @return always refused: its negative position. */
QRT_API int qrt_setIwhichcpu(QRTModel *model, int value);
/** @brief Istripes: stripes of the sparse factorisation (default 0). */
QRT_API int qrt_getIstripes(QRTModel *model);
/** @brief Sets Istripes. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIstripes(QRTModel *model, int value);
/** @brief Inumelq: quadratic elements; the accessor always gives 1 (default 0). */
QRT_API int qrt_getInumelq(QRTModel *model);
/** @brief Sets Inumelq. @return always refused: its negative position. */
QRT_API int qrt_setInumelq(QRTModel *model, int value);
/** @brief Iordthrsh: threshold of the ordering code (default 0). */
QRT_API int qrt_getIordthrsh(QRTModel *model);
/** @brief Sets Iordthrsh. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIordthrsh(QRTModel *model, int value);
/** @brief Ilpdcflag: decomposition crash flag (default 0). */
QRT_API int qrt_getIlpdcflag(QRTModel *model);
/** @brief Sets Ilpdcflag. @return 0, or 1 for a refused value. */
QRT_API int qrt_setIlpdcflag(QRTModel *model, int value);
/** @brief Imaxfactorsize: size limit of the factorisation (default 0). */
QRT_API int qrt_getImaxfactorsize(QRTModel *model);
/** @brief Sets Imaxfactorsize. @return 0, or 1 for a refused value. */
QRT_API int qrt_setImaxfactorsize(QRTModel *model, int value);
/** @brief Iqparnumiter: iterations of the parametric quadratic method (default 0). */
QRT_API int qrt_getIqparnumiter(QRTModel *model);
/** @brief Rtolpinf: primal feasibility tolerance (default 1e-08). */
QRT_API double qrt_getRtolpinf(QRTModel *model);
/** @brief Sets Rtolpinf. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRtolpinf(QRTModel *model, double value);
/** @brief Rtoldinf: dual feasibility tolerance (default 1e-07). */
QRT_API double qrt_getRtoldinf(QRTModel *model);
/** @brief Sets Rtoldinf. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRtoldinf(QRTModel *model, double value);
/** @brief Rmaxmin: 1 minimise, -1 maximise; qrt_setMinimize, qrt_setMaximize are shorthands (default 1.0). */
QRT_API double qrt_getRmaxmin(QRTModel *model);
/** @brief Sets Rmaxmin. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRmaxmin(QRTModel *model, double value);
/** @brief RobjectiveOffset: constant added to the objective (default 0.0). */
QRT_API double qrt_getRobjectiveOffset(QRTModel *model);
/** @brief Sets RobjectiveOffset. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRobjectiveOffset(QRTModel *model, double value);
/** @brief Rfixvar1: barrier: fixing tolerance for variables, first phase (default 1e-07). */
QRT_API double qrt_getRfixvar1(QRTModel *model);
/** @brief Sets Rfixvar1. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRfixvar1(QRTModel *model, double value);
/** @brief Rfixvar2: barrier: fixing tolerance for variables, second phase (default 1e-08). */
QRT_API double qrt_getRfixvar2(QRTModel *model);
/** @brief Sets Rfixvar2. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRfixvar2(QRTModel *model, double value);
/** @brief Rcholabstol: Cholesky: absolute pivot tolerance (default 1e-15). */
QRT_API double qrt_getRcholabstol(QRTModel *model);
/** @brief Sets Rcholabstol. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRcholabstol(QRTModel *model, double value);
/** @brief Rcholtinytol: Cholesky: tiny pivot tolerance (default 1e-18). */
QRT_API double qrt_getRcholtinytol(QRTModel *model);
/** @brief Sets Rcholtinytol. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRcholtinytol(QRTModel *model, double value);
/** @brief Rmulinfac: barrier: infeasibility factor in mu (default 0.0). */
QRT_API double qrt_getRmulinfac(QRTModel *model);
/** @brief Sets Rmulinfac. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRmulinfac(QRTModel *model, double value);
/** @brief Rprojtol: barrier: projection tolerance (default 1e-06). */
QRT_API double qrt_getRprojtol(QRTModel *model);
/** @brief Sets Rprojtol. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRprojtol(QRTModel *model, double value);
/** @brief Rpweight: simplex: weight on primal infeasibility (default 0.1). */
QRT_API double qrt_getRpweight(QRTModel *model);
/** @brief Sets Rpweight. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRpweight(QRTModel *model, double value);
/** @brief Rchangeweight: rate of change of the weight (default 0.5). */
QRT_API double qrt_getRchangeweight(QRTModel *model);
/** @brief Sets Rchangeweight. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRchangeweight(QRTModel *model, double value);
/** @brief Rbbcutoff: branch and bound cutoff (default 1e+31). */
QRT_API double qrt_getRbbcutoff(QRTModel *model);
/** @brief Sets Rbbcutoff. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRbbcutoff(QRTModel *model, double value);
/** @brief Rdweight: dual weight (default 0.1). */
QRT_API double qrt_getRdweight(QRTModel *model);
/** @brief Sets Rdweight. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRdweight(QRTModel *model, double value);
/** @brief Robjvalue: objective value (default 0.0). */
QRT_API double qrt_getRobjvalue(QRTModel *model);
/** @brief Sets Robjvalue. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRobjvalue(QRTModel *model, double value);
/** @brief Rsumpinf: sum of primal infeasibilities (default 0.0). */
QRT_API double qrt_getRsumpinf(QRTModel *model);
/** @brief Sets Rsumpinf. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRsumpinf(QRTModel *model, double value);
/** @brief Rsumdinf: sum of dual infeasibilities (default 0.0). */
QRT_API double qrt_getRsumdinf(QRTModel *model);
/** @brief Sets Rsumdinf. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRsumdinf(QRTModel *model, double value);
/** @brief Rtolmps: elements below this in size are dropped while reading MPS input (default 1e-12). */
QRT_API double qrt_getRtolmps(QRTModel *model);
/** @brief Sets Rtolmps. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRtolmps(QRTModel *model, double value);
/** @brief Rdegscale: scale of degradations (default 1.0). */
QRT_API double qrt_getRdegscale(QRTModel *model);
/** @brief Sets Rdegscale. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRdegscale(QRTModel *model, double value);
/** @brief Rbestsol: best integer solution (default 1e+31). */
QRT_API double qrt_getRbestsol(QRTModel *model);
/** @brief Sets Rbestsol. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRbestsol(QRTModel *model, double value);
/** @brief Riweight: integer weight (default 1.0). */
QRT_API double qrt_getRiweight(QRTModel *model);
/** @brief Sets Riweight. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRiweight(QRTModel *model, double value);
/** @brief Rimprove: smallest improvement for a new solution (default 1e-05). */
QRT_API double qrt_getRimprove(QRTModel *model);
/** @brief Sets Rimprove. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRimprove(QRTModel *model, double value);
/** @brief Rtarget: target objective (default 1e+20). */
QRT_API double qrt_getRtarget(QRTModel *model);
/** @brief Sets Rtarget. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRtarget(QRTModel *model, double value);
/** @brief Rtolint: integrality tolerance (default 1e-06). */
QRT_API double qrt_getRtolint(QRTModel *model);
/** @brief Sets Rtolint. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRtolint(QRTModel *model, double value);
/** @brief Rbestposs: best possible value (default 0.0). */
QRT_API double qrt_getRbestposs(QRTModel *model);
/** @brief Sets Rbestposs. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRbestposs(QRTModel *model, double value);
/** @brief Rbestest: best estimate (default 0.0). */
QRT_API double qrt_getRbestest(QRTModel *model);
/** @brief Sets Rbestest. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRbestest(QRTModel *model, double value);
/** @brief Rstepmult: barrier step multiplier (default 0.99). */
QRT_API double qrt_getRstepmult(QRTModel *model);
/** @brief Sets Rstepmult. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRstepmult(QRTModel *model, double value);
/** @brief Rdensethr: barrier density threshold; also read as mu by the idiot crash (default 0.7). */
QRT_API double qrt_getRdensethr(QRTModel *model);
/** @brief Sets Rdensethr. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRdensethr(QRTModel *model, double value);
/** @brief Rlambdaval: quadratic parametric lambda (default 0.0). */
QRT_API double qrt_getRlambdaval(QRTModel *model);
/** @brief Sets Rlambdaval. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRlambdaval(QRTModel *model, double value);
/** @brief Rdccutoff: cutoff for dual objective (default -1e+31). */
QRT_API double qrt_getRdccutoff(QRTModel *model);
/** @brief Sets Rdccutoff. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRdccutoff(QRTModel *model, double value);
/** @brief Rdobjval: dual objective value (default 0.0). */
QRT_API double qrt_getRdobjval(QRTModel *model);
/** @brief Sets Rdobjval. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRdobjval(QRTModel *model, double value);
/** @brief Rslambda: parametric: current lambda (default 0.0). */
QRT_API double qrt_getRslambda(QRTModel *model);
/** @brief Sets Rslambda. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRslambda(QRTModel *model, double value);
/** @brief Rslambdalim: parametric: limit of lambda (default 1.0). */
QRT_API double qrt_getRslambdalim(QRTModel *model);
/** @brief Sets Rslambdalim. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRslambdalim(QRTModel *model, double value);
/** @brief Rslambdadelta: parametric: step of lambda (default 0.1). */
QRT_API double qrt_getRslambdadelta(QRTModel *model);
/** @brief Sets Rslambdadelta. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRslambdadelta(QRTModel *model, double value);
/** @brief Rthreshold: integer threshold (default 0.0). */
QRT_API double qrt_getRthreshold(QRTModel *model);
/** @brief Sets Rthreshold. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRthreshold(QRTModel *model, double value);
/** @brief Rpdgaptol: primal-dual gap tolerance (default 1e-07). */
QRT_API double qrt_getRpdgaptol(QRTModel *model);
/** @brief Sets Rpdgaptol. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRpdgaptol(QRTModel *model, double value);
/** @brief Rpdstepmult: primal-dual step multiplier (default 0.99995). */
QRT_API double qrt_getRpdstepmult(QRTModel *model);
/** @brief Sets Rpdstepmult. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRpdstepmult(QRTModel *model, double value);
/** @brief Rpertdiag: diagonal perturbation (default 1e-12). */
QRT_API double qrt_getRpertdiag(QRTModel *model);
/** @brief Sets Rpertdiag. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRpertdiag(QRTModel *model, double value);
/** @brief Rnetsamp: network sampling fraction (default 0.05). */
QRT_API double qrt_getRnetsamp(QRTModel *model);
/** @brief Sets Rnetsamp. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRnetsamp(QRTModel *model, double value);
/** @brief Rprintcpu: CPU time below which no time message is issued (default 0.1). */
QRT_API double qrt_getRprintcpu(QRTModel *model);
/** @brief Sets Rprintcpu. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRprintcpu(QRTModel *model, double value);
/** @brief RregularizedGamma: regularized barrier: gamma (default 0.001). */
QRT_API double qrt_getRregularizedGamma(QRTModel *model);
/** @brief Sets RregularizedGamma. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRregularizedGamma(QRTModel *model, double value);
/** @brief RregularizedDelta: regularized barrier: delta (default 0.001). */
QRT_API double qrt_getRregularizedDelta(QRTModel *model);
/** @brief Sets RregularizedDelta. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRregularizedDelta(QRTModel *model, double value);
/** @brief RprimalPerturbation: primal perturbation (default 0.0). */
QRT_API double qrt_getRprimalPerturbation(QRTModel *model);
/** @brief Sets RprimalPerturbation. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRprimalPerturbation(QRTModel *model, double value);
/** @brief RdualPerturbation: dual perturbation (default 0.0). */
QRT_API double qrt_getRdualPerturbation(QRTModel *model);
/** @brief Sets RdualPerturbation. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRdualPerturbation(QRTModel *model, double value);
/** @brief Rmuinit: barrier: first mu (default 0.1). */
QRT_API double qrt_getRmuinit(QRTModel *model);
/** @brief Sets Rmuinit. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRmuinit(QRTModel *model, double value);
/** @brief Rmufactor: barrier: factor on mu (default 0.1). */
QRT_API double qrt_getRmufactor(QRTModel *model);
/** @brief Sets Rmufactor. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRmufactor(QRTModel *model, double value);
/** @brief Rmulimit: barrier: limit of mu (default 1e-08). */
QRT_API double qrt_getRmulimit(QRTModel *model);
/** @brief Sets Rmulimit. @return 0, or 1 for a refused value. */
QRT_API int qrt_setRmulimit(QRTModel *model, double value);
/** @brief Cname: name of the model, and of the NAME card an import looks for; owned by the model. */
QRT_API const char *qrt_getCname(QRTModel *model);
/** @brief Sets Cname; cut at 79 characters. @return 0. */
QRT_API int qrt_setCname(QRTModel *model, const char *value);
/** @brief Cobjective: name of the objective row; owned by the model. */
QRT_API const char *qrt_getCobjective(QRTModel *model);
/** @brief Sets Cobjective; cut at 79 characters. @return 0. */
QRT_API int qrt_setCobjective(QRTModel *model, const char *value);
/** @brief Crhs: name of the right-hand-side set; owned by the model. */
QRT_API const char *qrt_getCrhs(QRTModel *model);
/** @brief Sets Crhs; cut at 79 characters. @return 0. */
QRT_API int qrt_setCrhs(QRTModel *model, const char *value);
/** @brief Crange: name of the range set; owned by the model. */
QRT_API const char *qrt_getCrange(QRTModel *model);
/** @brief Sets Crange; cut at 79 characters. @return 0. */
QRT_API int qrt_setCrange(QRTModel *model, const char *value);
/** @brief Cbound: name of the bound set; owned by the model. */
QRT_API const char *qrt_getCbound(QRTModel *model);
/** @brief Sets Cbound; cut at 79 characters. @return 0. */
QRT_API int qrt_setCbound(QRTModel *model, const char *value);
/** @brief Cbasis: name of the basis; owned by the model. */
QRT_API const char *qrt_getCbasis(QRTModel *model);
/** @brief Sets Cbasis; cut at 79 characters. @return 0. */
QRT_API int qrt_setCbasis(QRTModel *model, const char *value);

/** @brief Minimise: Rmaxmin 1. */
QRT_API int qrt_setMinimize(QRTModel *model);
/** @brief Maximise: Rmaxmin -1. */
QRT_API int qrt_setMaximize(QRTModel *model);
/** @brief Lets branch and bound use Rbbcutoff. */
QRT_API int qrt_activateCutoff(QRTModel *model);
/** @brief Branch and bound no longer uses Rbbcutoff. */
QRT_API int qrt_deactivateCutoff(QRTModel *model);
/** @brief Mask of the fast integer method: the high half of the strategy word. */
QRT_API int qrt_getIfastinteger(QRTModel *model);
/** @brief Sets the mask of the fast integer method. */
QRT_API int qrt_setIfastinteger(QRTModel *model, int value);
/** @brief Number of quadratic blocks. */
QRT_API int qrt_getInumquadraticblocks(QRTModel *model);
#endif
