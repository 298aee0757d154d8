/**
 * @file
 * Datasets: making, filling, finding, copying them; text files in, images out.
 *
 * @code
 * int attach_report(tag revision, const char* path) {
 *   tag dataset;
 *   int status = ZOLP_importTextDataset(0, "Report", path, &dataset);
 *   return status == ORK_ok ? ZOLP_createRelation(revision, dataset, "VELO_reference") : status;
 * }
 * @endcode
 */
#ifndef ZOLP_ORKTOOL_DATASETS_H
#define ZOLP_ORKTOOL_DATASETS_H

#include "ork/ork.h"
#include "zolp_orktool/api.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Makes a dataset with its type's default tool, saved and unlocked and related to nothing. A type
 * that the platform does not know makes none and is no failure: clear `dataset_tag` before the call
 * and test it afterwards. A failure after the dataset was made leaves it as far as it got, saved or
 * not, and locked.
 * @param[in] datasettype name of the dataset type.
 * @param[in] dataset_name name of the dataset.
 * @param[in] reference_name a named reference that the type must define; only checked.
 * @param[in] dataset_format its format, of which the first 32 bytes are taken; null takes the first
 *   output format of the default tool.
 * @param[in] description its description; null for none.
 * @param[out] dataset_tag the new dataset; untouched when a failure came before it was to be made,
 *   #NULLTAG when making it failed.
 * @return 0; 919246 (the type cannot be looked up), 919247 (it has no default tool, or the tool's
 *   formats cannot be read), 919248 (the tool has no output format), 919249 (the type has no such
 *   reference), all but an unreadable tool's 919247 on the error stack with the name concerned; or
 *   the status of the platform call that failed.
 */
ZOLP_API int ZOLP_createDataset(const char* datasettype, const char* dataset_name,
                                const char* reference_name, const char* dataset_format,
                                const char* description, tag* dataset_tag);

/**
 * Attaches a file to a dataset, in place of what the reference refers to, if anything, and as a
 * part of the dataset otherwise. Leaves the dataset saved, unlocked and unloaded; a failure leaves
 * it as far as it got, and locked unless it only could not be unloaded.
 * @param[in] dataset the dataset; the function locks it. One that cannot be locked is not refused
 * at once: the function goes on and ends with the status of the first change that the platform
 *   refuses, and the trace has the reason.
 * @param[in] file_tag the file.
 * @param[in] reference name of the reference.
 * @return 0 or the status of the platform call that failed.
 */
ZOLP_API int ZOLP_attachNamedReference(tag dataset, tag file_tag, const char* reference);

/**
 * Looks up what a dataset refers to.
 * @param[in] dataset_name name of the dataset, the first of several.
 * @param[in] ref_name name of the reference.
 * @param[out] ref_tag what it refers to; 0 on failure.
 * @return 0, or 1 when there is no such dataset or reference, and for every other failure.
 */
ZOLP_API int ZOLP_findDatasetNamedRef(const char* dataset_name, const char* ref_name, tag* ref_tag);

/**
 * Relates two objects and saves the relation.
 * @param[in] destObject the primary object.
 * @param[in] tDataset the secondary object.
 * @param[in] relation_type name of the relation type.
 * @return 0 or the status of the platform call that failed.
 */
ZOLP_API int ZOLP_createRelation(tag destObject, tag tDataset, const char* relation_type);

/**
 * Imports a text file into a new dataset of the type "Text", related to nothing. A file that cannot
 * be imported, saved or locked is reported in the trace, and the function goes on. A failure leaves
 * what was made in the database, and locked unless only the end of the work failed.
 * @param[in] reserved not used.
 * @param[in] dataset_name name of the dataset.
 * @param[in] path path of the text file.
 * @param[out] dataset the new dataset; #NULLTAG when none was made.
 * @return 0, the status of `ZOLP_createDataset` or `ZOLP_attachNamedReference`, or 1 when the
 *   dataset cannot be refreshed in the end.
 */
ZOLP_API int ZOLP_importTextDataset(const char* reserved, const char* dataset_name,
                                    const char* path, tag* dataset);

/**
 * Imports a text file into a new dataset of the type "Text" and the format "TEXT", related to an
 * object as "VELO_reference". The first failure ends the work; what was made stays. The
 * dataset is left unlocked, the file locked.
 * @param[in] destObject the object that gets the dataset.
 * @param[in] szDatasetName name of the dataset.
 * @param[in] szDatasetDesc its description; null for none.
 * @param[in] szOsPath path of the text file.
 * @param[in] szFileName name of the file, for the trace alone.
 * @return 0 or the status of the platform call that failed.
 */
ZOLP_API int ZOLP_fct_import_text_dataset_desc(tag destObject, const char* szDatasetName,
                                               const char* szDatasetDesc, const char* szOsPath,
                                               const char* szFileName);

/**
 * `ZOLP_fct_import_text_dataset_desc` without a description.
 * @param[in] destObject the object that gets the dataset.
 * @param[in] szDatasetName name of the dataset.
 * @param[in] szOsPath path of the text file.
 * @param[in] szFileName name of the file, for the trace alone.
 * @return 0 or the status of the platform call that failed.
 */
ZOLP_API int ZOLP_fct_import_text_dataset(tag destObject, const char* szDatasetName,
                                          const char* szOsPath, const char* szFileName);

/** Room that `ZOLP_exportImage` needs behind the directory for a file name, in bytes. */
#define ZOLP_IMAGE_NAME_SIZE 387

/**
 * Exports files of datasets under generated names: item id, "_", revision id, "_", dataset name,
 * cleaned by `ZOLP_RepSpecialChar`. The first dataset of the list yields its first named reference,
 * the second its second, and so on; one that has fewer is passed over, and so is a file that
 * exists, or that cannot be exported.
 * @param[in] list the datasets.
 * @param[in] count number of datasets.
 * @param[in,out] export_file_path caller's buffer with the directory, which ends with a separator;
 *   with room for #ZOLP_IMAGE_NAME_SIZE bytes behind it. Holds the directory again afterwards.
 * @param[in] ref_name name that a reference must have.
 * @param[in] mode must be "no".
 * @param[in] itemrev item revision by which the files are named.
 * @return 0, 1 for another mode or no item revision, or the status of the platform call that ended
 *   the work.
 */
ZOLP_API int ZOLP_exportImage(tag* list, int count, char* export_file_path, const char* ref_name,
                              const char* mode, tag itemrev);

/**
 * Copies a dataset so that the copy has files of its own, each with the copy's name and its old
 * extension as original name; other objects that it refers to are shared, and so are files whose
 * reference has no format in the dataset's type. The environment variable
 * "VK_TMP_DIR" names the folder that the files pass through; the system's own is used without it.
 * Paths there have at most 260 bytes, original names at most 100; what is longer is cut.
 * Files of one name pass through one path there, so copies that run at once in several processes
 * take turns at each path, by a file "<path>-lock" beside it. One that has not had its turn after
 * five minutes goes on without removing what is there, and so with the platform's refusal to
 * export.
 * @param[in] tagOldDS the dataset, which stays as it is.
 * @param[in] pcNewDatsetName name of the copy.
 * @param[out] ptagNewDS the copy. After a failure it may exist, be locked and share files.
 * @return 0 or the status of the platform call that failed.
 */
ZOLP_API int ZOLP_RealCopyDataset(tag tagOldDS, const char* pcNewDatsetName, tag* ptagNewDS);

#ifdef __cplusplus
}
#endif

#endif
